#pragma once
// The single-pass walk over a phonebook export (or any text) that the module cuts records from.
// Internal to the module; the library exports none of it.
#include <functional>
#include <string>

namespace fritzbox_detail {

// Returns false to stop the walk.
using ExtractionVisitor = std::function<bool(std::string& between)>;

// Hands `visit` what repeated ClientUtils::getStringBetweenKeywords(copy, out, begin, end) calls
// on a copy of `text` would hand out, in the same order and with the same text, until `visit`
// returns false or no pair is left. Each such call removes the pair it found and joins the text
// before and after it, so a new `begin` can form across the seam; the walk finds those too.
// Nothing is handed out when `begin` or `end` is empty. Linear in the size of `text`.
void forEachExtraction(const std::string& text, const std::string& begin, const std::string& end,
                       const ExtractionVisitor& visit);

}  // namespace fritzbox_detail
