#include <gtest/gtest.h>

#include "ClientUtils.h"

namespace {

// Each call takes the first complete pair out and keeps the text around it; without a complete
// pair nothing changes.
TEST(KeywordExtraction, TakesPairsOutOneByOne) {
    const struct {
        std::string source, begin, end, taken, left;
        bool found;
    } cases[] = {
        {"</a>head<a>one</a>tail<a>two</a>", "<a>", "</a>", "one", "</a>headtail<a>two</a>", true},
        {"no keywords here", "<a>", "</a>", "untouched", "no keywords here", false},
        {"end </a> before begin <a> only", "<a>", "</a>", "untouched", "end </a> before begin <a> only", false},
        {"<a></a>", "", "</a>", "untouched", "<a></a>", false},
        {"<a></a>", "<a>", "", "untouched", "<a></a>", false}};
    for (const auto& c : cases) {
        std::string source = c.source;
        std::string out = "untouched";
        EXPECT_EQ(ClientUtils::getStringBetweenKeywords(source, out, c.begin, c.end), c.found) << c.source;
        EXPECT_EQ(out + "|" + source, c.taken + "|" + c.left);
    }
}

TEST(TextHelpers, EscapeReplaceAndSplit) {
    EXPECT_EQ(ClientUtils::escapeXMLString("a&b<c>d\"e'f"), "a&amp;b&lt;c&gt;d&quot;e&apos;f");

    std::string text = "aXbXX";
    ClientUtils::replaceSubstringInString(text, "X", "XX");  // must not rescan its own output
    EXPECT_EQ(text, "aXXbXXXX");

    const struct {
        std::string full, path, file;
    } splits[] = {{"/var/pics/a.jpg", "/var/pics/", "a.jpg"}, {"a.jpg", "", "a.jpg"}, {"dir/", "dir/", ""}};
    for (const auto& s : splits) {
        std::string path = "stale";
        std::string file = "stale";
        ClientUtils::splitFilenameAndPath(s.full, path, file);
        EXPECT_EQ(path + "|" + file, s.path + "|" + s.file) << s.full;
    }
}

}  // namespace
