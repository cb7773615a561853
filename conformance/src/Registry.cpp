// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Registry.h"

#include <algorithm>
#include <sstream>

namespace conformance {

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);) {
        if (!part.empty()) {
            parts.push_back(part);
        }
    }
    return parts;
}

bool guards(const Assumption& assumption, const std::string& check) {
    return std::find(assumption.checks.begin(), assumption.checks.end(), check) != assumption.checks.end();
}

}  // namespace

std::vector<Assumption> parseRegistry(const std::string& text, std::string& error) {
    std::vector<Assumption> registry;
    std::istringstream in(text);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.empty() || line[0] == '#') {
            continue;
        }
        std::vector<std::string> columns;
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, '\t');) {
            columns.push_back(field);
        }
        if (columns.size() != 5 || (columns[1] != "R" && columns[1] != "C") || split(columns[3], ' ').empty()) {
            error = "line " + std::to_string(number) + ": want ID, R or C, operations, checks, text (tab-separated)";
            return registry;
        }
        registry.push_back({columns[0], columns[1][0], split(columns[2], ' '), split(columns[3], ' '), columns[4]});
    }
    return registry;
}

char tierOf(const std::vector<Assumption>& registry, const std::string& check) {
    const bool required = std::any_of(registry.begin(), registry.end(), [&](const Assumption& assumption) {
        return assumption.tier == 'R' && guards(assumption, check);
    });
    return required ? 'R' : 'C';
}

std::string assumptionsOf(const std::vector<Assumption>& registry, const std::string& check) {
    std::string text;
    for (const Assumption& assumption : registry) {
        if (guards(assumption, check)) {
            text += (text.empty() ? "" : "; ") + assumption.id + ": " + assumption.text;
        }
    }
    return text;
}

}  // namespace conformance
