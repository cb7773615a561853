// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Synthetic router data for the benchmarks: call lists and phonebook exports of any size, shaped
// like what a FritzBox sends. Deterministic, so every run and every build measures the same bytes.
#include <cstddef>
#include <map>
#include <string>

namespace benchdata {

// The router's login password that the benchmarks' routers expect.
const std::string kPassword = "geheim";

// A call-list CSV as /fon_num/foncalls_list.lua?csv= answers it: the "sep=;" line, the column
// header and `records` calls, newest first. Mixes incoming, missed, rejected and outgoing calls,
// withheld callers, callers without a name and "number (kind)" names.
std::string callListCsv(std::size_t records);

// A phonebook export of `contacts` contacts, one per line, 300 to 400 bytes each: one to three
// numbers (the id="0" one not always first), e-mail addresses on most, a photo on every fourth.
std::string phonebookExport(std::size_t contacts);

// The text between "<contact" and "</contact>" of contact `index`, as the module hands it to
// its record conversion.
std::string phonebookRecord(std::size_t index);

// The number of directory entries in a Personal document.
int entryCount(const std::string& document);

// The photos the exports' imageURLs name: router path -> small JPEG-like bytes.
std::map<std::string, std::string> photos();

}  // namespace benchdata
