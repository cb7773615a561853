// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "ReplyFiles.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace replyfiles {

std::string decode(const std::string& text) {
    std::string bytes;
    if (text.rfind("%repeat ", 0) == 0) {
        const std::string unit = decode(text.substr(text.find(' ', 8) + 1));
        for (unsigned long n = std::stoul(text.substr(8)); n > 0; --n) {
            bytes += unit;
        }
        return bytes;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i] == '\\' ? text[++i] : '\0';
        if (c == 'x') {
            bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            bytes += c == '\0' ? text[i] : c == 'r' ? '\r' : c == 'n' ? '\n' : c == 't' ? '\t' : c;
        }
    }
    return bytes;
}

bool ReplyFile::aboutSockets() const {
    return fields.count("pace-ms") + fields.count("target") + fields.count("sent") > 0 || ending == Ending::Reset;
}

std::string ReplyFile::field(const std::string& key) const {
    const auto found = fields.find(key);
    return found == fields.end() ? std::string() : found->second;
}

ReplyFile readReplyFile(const std::string& name) {
    ReplyFile file{name, {}, {}, Ending::Open};
    std::ifstream in(FRITZBOX_REPLIES_DIR "/" + name + ".http");
    std::string line;
    while (std::getline(in, line) && line != "--") {
        const std::size_t colon = line.find(':');
        if (line[0] != '#' && colon != std::string::npos) {
            file.fields[line.substr(0, colon)] =
                decode(line.substr(std::min(line.find_first_not_of(' ', colon + 1), line.size())));
        }
    }
    while (std::getline(in, line)) {
        if (line == "%close" || line == "%reset") {
            file.ending = line == "%close" ? Ending::Close : Ending::Reset;
        } else {
            file.pieces.push_back(decode(line));
        }
    }
    return file;
}

std::vector<std::string> replyNames(bool aboutSockets) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(FRITZBOX_REPLIES_DIR)) {
        const std::string name = entry.path().stem().string();
        if (readReplyFile(name).aboutSockets() == aboutSockets) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string testNameOf(std::string replyName) {
    std::replace(replyName.begin(), replyName.end(), '-', '_');
    return replyName;
}

}  // namespace replyfiles
