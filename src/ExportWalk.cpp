// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "ExportWalk.h"

#include <algorithm>

namespace fritzbox_detail {

// Run on a copy of the text, every removal would move the rest of it, and every search would
// scan again what the removals left in front: both cost time in the square of the size for
// megabytes of small records. So the text is walked once from `next`, and what the removals left
// in front of it is kept aside. That holds no `begin` (each pair started at the first one), so a
// pair can start in its last begin.size() - 1 bytes only, running on into the text; after such a
// pair it ends where that pair started.
void forEachExtraction(const std::string& text, const std::string& begin, const std::string& end,
                       ExtractionVisitor visit) {
    if (begin.empty() || end.empty()) {
        return;
    }
    std::string keptInFront;
    std::size_t next = 0;
    for (;;) {
        const std::size_t tail = std::min(keptInFront.size(), begin.size() - 1);
        const std::size_t seamAt =
            (keptInFront.substr(keptInFront.size() - tail) + text.substr(next, begin.size() - 1)).find(begin);
        const bool acrossSeam = seamAt < tail;
        const std::size_t beginAt = acrossSeam ? std::string::npos : text.find(begin, next);
        if (!acrossSeam && beginAt == std::string::npos) {
            return;
        }
        const std::size_t contentAt = acrossSeam ? next + begin.size() - (tail - seamAt) : beginAt + begin.size();
        const std::size_t endAt = text.find(end, contentAt);
        if (endAt == std::string::npos) {
            return;
        }
        if (acrossSeam) {
            keptInFront.resize(keptInFront.size() - tail + seamAt);
        } else {
            keptInFront.append(text, next, beginAt - next);
        }
        std::string between = text.substr(contentAt, endAt - contentAt);
        if (!visit(between)) {
            return;
        }
        next = endAt + end.size();
    }
}

}  // namespace fritzbox_detail
