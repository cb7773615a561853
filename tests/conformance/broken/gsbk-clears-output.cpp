// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A keyword extraction that empties its output before it searches, also when it then finds no pair
// (the module's session id would be lost on a page without one).
#include <string>

#include "ClientUtils.h"
#include "Next.h"

bool ClientUtils::getStringBetweenKeywords(std::string& source, std::string& out, const std::string& begin,
                                           const std::string& end) {
    using Extract = bool (*)(std::string&, std::string&, const std::string&, const std::string&);
    static const Extract extract = nextDefinition<Extract>(
        "_ZN11ClientUtils24getStringBetweenKeywordsERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES6_RKS5_S8_");
    out.clear();
    return extract(source, out, begin, end);
}
