#include <gtest/gtest.h>

#include "ClientUtils.h"

namespace {

TEST(KeywordExtraction, TakesTheFirstPairOutAndKeepsTheTextAroundIt) {
    std::string source = "</a>head<a>one</a>tail<a>two</a>";
    std::string out;
    ASSERT_TRUE(ClientUtils::getStringBetweenKeywords(source, out, "<a>", "</a>"));
    EXPECT_EQ(out, "one");
    EXPECT_EQ(source, "</a>headtail<a>two</a>");
}

TEST(KeywordExtraction, WalksADocumentRecordByRecord) {
    std::string document = "<list>";
    for (int i = 0; i < 2000; ++i) {
        document += "<rec>" + std::to_string(i) + "</rec>\n";
    }
    document += "</list>";
    std::string record;
    int expected = 0;
    while (ClientUtils::getStringBetweenKeywords(document, record, "<rec>", "</rec>")) {
        ASSERT_EQ(record, std::to_string(expected++));
    }
    EXPECT_EQ(expected, 2000);
    EXPECT_EQ(document, "<list>" + std::string(2000, '\n') + "</list>");
}

TEST(KeywordExtraction, ChangesNothingWithoutACompletePair) {
    const struct {
        std::string source, begin, end;
    } cases[] = {{"no keywords here", "<a>", "</a>"},
                 {"end </a> before begin <a> only", "<a>", "</a>"},
                 {"<a></a>", "", "</a>"},
                 {"<a></a>", "<a>", ""}};
    for (const auto& c : cases) {
        std::string source = c.source;
        std::string out = "untouched";
        EXPECT_FALSE(ClientUtils::getStringBetweenKeywords(source, out, c.begin, c.end)) << c.source;
        EXPECT_EQ(source, c.source);
        EXPECT_EQ(out, "untouched");
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
        EXPECT_EQ(path, s.path) << s.full;
        EXPECT_EQ(file, s.file) << s.full;
    }
}

}  // namespace
