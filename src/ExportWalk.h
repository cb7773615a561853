// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The single-pass walk over a phonebook export (or any text) that the module cuts records from.
// Internal to the module; the library exports none of it.
#include <string>

#include "FunctionRef.h"

namespace fritzbox_detail {

// Returns false to stop the walk.
using ExtractionVisitor = FunctionRef<bool(std::string& between)>;

// Hands `visit`, in order, the text between the first `begin` and the first `end` after it, then
// takes that pair with the text between out of `text` and looks again, joining what stood before
// and after it: so a `begin` that forms across such a seam counts too. Stops when `visit` returns
// false or no pair is left; nothing is handed out when `begin` or `end` is empty. Linear in the
// size of `text` (the text is walked once, never copied piece by piece).
void forEachExtraction(const std::string& text, const std::string& begin, const std::string& end,
                       ExtractionVisitor visit);

}  // namespace fritzbox_detail
