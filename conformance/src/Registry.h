// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The registry of assumptions (assumptions.tsv, built into the program): every assumption the
// module makes about the platform, its tier, the platform operations it concerns and the checks
// that guard it.
#include <string>
#include <vector>

namespace conformance {

struct Assumption {
    std::string id;
    char tier = 'R';  // R: the module's behaviour depends on it; C: the installed headers promise it
    std::vector<std::string> operations;
    std::vector<std::string> checks;
    std::string text;
};

// The registry's text as it was built in.
const char* registryText();
// Parses the registry; on a malformed line returns what it read so far and sets `error`.
std::vector<Assumption> parseRegistry(const std::string& text, std::string& error);
// The tier of a check: R when any assumption it guards is R.
char tierOf(const std::vector<Assumption>& registry, const std::string& check);
// The assumptions a check guards, as "ID: text; ID: text".
std::string assumptionsOf(const std::vector<Assumption>& registry, const std::string& check);

}  // namespace conformance
