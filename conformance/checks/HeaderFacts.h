// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Sizes, alignments, member offsets and virtual-function slots of the platform types the module
// compiles in, as a set of headers declares them. HeaderFacts.inc is compiled twice: with the
// installed headers the module was built with, and with the platform's own headers
// (FRITZBOX_PLATFORM_HEADERS when the kit is built), so that the kit can compare the two.
#include <string>
#include <vector>

namespace conformance {

struct HeaderFact {
    std::string name;  // "size HttpClient", "offset CallInfo::callTime", "slot HttpClientIfc::sendRequest"
    long long value;
};

std::vector<HeaderFact> installedHeaderFacts();
std::vector<HeaderFact> platformHeaderFacts();

}  // namespace conformance
