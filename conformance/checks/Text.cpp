// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// ClientUtils: the keyword extraction the login and the phonebook reading rest on, the decimal
// text of the directory's counts, XML escaping, and the picture location's scheme removal and file
// name.
#include <cstdlib>
#include <locale>

#include "ClientUtils.h"
#include "Kit.h"

namespace conformance {

namespace {

// One extraction: `source` with `begin` and `end`; when found, what `out` and the source hold after.
struct Extraction {
    const char* name;
    std::string source, begin, end;
    bool found;
    std::string out{}, rest{};
};

void checkExtractions(const std::vector<Extraction>& rows) {
    for (const Extraction& row : rows) {
        std::string source = row.source;
        std::string out = "untouched";
        const bool found = ClientUtils::getStringBetweenKeywords(source, out, row.begin, row.end);
        const std::string where = std::string(row.name) + ": ";
        expectTrue(found == row.found, where + (row.found ? "true" : "false"), found ? "true" : "false");
        expectEqual(where + "out", row.found ? row.out : "untouched", out);
        expectEqual(where + "source after", row.found ? row.rest : row.source, source);
    }
}

void firstPair(Context&) {
    checkExtractions({
        {"the first pair", "<a>x</a><a>y</a>", "<a>", "</a>", true, "x", "<a>y</a>"},
        {"an end before the begin is passed over", "</a>head<a>mid</a>tail</a>", "<a>", "</a>", true, "mid",
         "</a>headtail</a>"},
        {"the end starts after the begin's last byte", "<<x<", "<<", "<", true, "x", ""},
        {"a number's text", "<number type=\"home\" id=\"0\">030123</number>", ">", "<", true, "030123",
         "<number type=\"home\" id=\"0\"/number>"},
    });
}

void removesTheMatch(Context&) {
    checkExtractions({
        {"the text before and after are joined", "head<a>x</a>tail", "<a>", "</a>", true, "x", "headtail"},
        {"a picture location before the numbers stays (as in real exports)",
         "<person><realName>A</realName><imageURL>file:///a.jpg</imageURL></person><telephony><number>1</number>"
         "</telephony><uniqueid>7</uniqueid>",
         "<telephony", "</telephony>", true, "><number>1</number>",
         "<person><realName>A</realName><imageURL>file:///a.jpg</imageURL></person><uniqueid>7</uniqueid>"},
        {"keywords without brackets", "<contact><x/></contact><contact>", "<contact", "</contact>", true, "><x/>",
         "<contact>"},
    });
}

void noPairChangesNothing(Context&) {
    checkExtractions({
        {"no end", "<SID>0123", "<SID>", "</SID>", false},
        {"no begin", "0123</SID>", "<SID>", "</SID>", false},
        {"the end only before the begin", "</SID>x<SID>", "<SID>", "</SID>", false},
        {"an empty source", "", "<SID>", "</SID>", false},
    });
}

void binarySafe(Context&) {
    checkExtractions({
        {"NUL bytes before and between", std::string("a\0b<a>x\0y</a>z", 14), "<a>", "</a>", true,
         std::string("x\0y", 3), std::string("a\0bz", 4)},
        {"bytes over 0x7f, CR and LF", "\xff\r\n<a>\xc3\xa4\r\n</a>\xfe", "<a>", "</a>", true, "\xc3\xa4\r\n",
         "\xff\r\n\xfe"},
        {"case matters", "<A>x</A><a>y</a>", "<a>", "</a>", true, "y", "<A>x</A>"},
    });
}

void emptyKeywords(Context&) {
    checkExtractions({
        {"an empty begin", "ab", "", "b", false},
        {"an empty end", "ab", "a", "", false},
    });
}

void emptyBetween(Context&) {
    checkExtractions({{"nothing between", "<a></a>rest", "<a>", "</a>", true, "", "rest"}});
}

// A locale that groups thousands, as a host may install globally.
struct GroupingPunctuation : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

void plainDecimal(Context&) {
    const std::pair<int, const char*> rows[] = {
        {0, "0"}, {7, "7"}, {1000, "1000"}, {1234567, "1234567"}, {2147483647, "2147483647"}};
    for (const bool grouping : {false, true}) {
        if (grouping) {
            std::locale::global(std::locale(std::locale::classic(), new GroupingPunctuation));
        }
        for (const auto& [value, text] : rows) {
            expectEqual(
                std::string("itos(") + std::to_string(value) + ")" + (grouping ? " under a grouping locale" : ""), text,
                ClientUtils::itos(value));
        }
    }
}

// `escaped` with the XML entities read back; false when a raw < or > or a bare & is left.
bool unescape(const std::string& escaped, std::string& text) {
    const std::pair<const char*, char> entities[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
    text.clear();
    for (std::size_t at = 0; at < escaped.size();) {
        const char c = escaped[at];
        if (c == '<' || c == '>') {
            return false;
        }
        if (c != '&') {
            text += c;
            ++at;
            continue;
        }
        const std::size_t semicolon = escaped.find(';', at);
        const std::string entity = escaped.substr(at, semicolon == std::string::npos ? 1 : semicolon - at + 1);
        bool known = false;
        for (const auto& [name, character] : entities) {
            known = known || entity == name;
            text += entity == name ? std::string(1, character) : "";
        }
        if (!known && entity.size() > 3 && entity[1] == '#') {
            const bool hex = entity[2] == 'x';
            char* end = nullptr;
            const long code = std::strtol(entity.c_str() + (hex ? 3 : 2), &end, hex ? 16 : 10);
            known = *end == ';' && code >= 0 && code < 256;
            text += static_cast<char>(code);
        }
        if (!known) {
            return false;
        }
        at += entity.size();
    }
    return true;
}

void xmlSafe(Context&) {
    const char* const rows[] = {"Anna & Bob <home>",          "\"quoted\" 'apostrophes'",
                                "already &amp; escaped",      "\x01\x1f\r\n\t\x7f control bytes",
                                "\xff\xfe\xc3 invalid UTF-8", ""};
    for (const std::string row : rows) {
        const std::string escaped = ClientUtils::escapeXMLString(row);
        std::string text;
        expectTrue(unescape(escaped, text) && text == row,
                   "no raw < > or bare & in the escape of " + quoted(row) + ", and every other byte kept",
                   quoted(escaped));
    }
}

void fiveEntities(Context&) {
    expectEqual("the escape of &<>\"'", "&amp;&lt;&gt;&quot;&apos;", ClientUtils::escapeXMLString("&<>\"'"));
}

struct Replacement {
    std::string text, search, replacement, result;
};

void checkReplacements(const std::vector<Replacement>& rows) {
    for (const Replacement& row : rows) {
        std::string text = row.text;
        ClientUtils::replaceSubstringInString(text, row.search, row.replacement);
        expectEqual("replacing " + quoted(row.search) + " in " + quoted(row.text), row.result, text);
    }
}

void schemeRemoved(Context&) {
    checkReplacements({
        {"file:///var/media/ftp/photo.jpg", "file://", "", "/var/media/ftp/photo.jpg"},
        {"/var/media/ftp/photo.jpg", "file://", "", "/var/media/ftp/photo.jpg"},
        {std::string("file:///a\0b.jpg", 15), "file://", "", std::string("/a\0b.jpg", 8)},
        {"", "file://", "", ""},
    });
}

void everyOccurrence(Context&) {
    checkReplacements({
        {"aXbXX", "X", "--", "a--b----"},
        {"aaa", "a", "aa", "aaaaaa"},
    });
}

void bareFileName(Context&) {
    const std::pair<const char*, const char*> rows[] = {{"/var/media/ftp/photo.jpg", "photo.jpg"},
                                                        {"/../../etc/passwd", "passwd"},
                                                        {"a/b\\c.jpg", "b\\c.jpg"},
                                                        {"x/../..", ".."},
                                                        {"//double//slash.jpg", "slash.jpg"}};
    for (const auto& [full, name] : rows) {
        std::string path = "old", fileName = "old";
        ClientUtils::splitFilenameAndPath(full, path, fileName);
        expectEqual(std::string("the file name of ") + quoted(full), name, fileName);
    }
}

void splitEdges(Context&) {
    const char* const rows[][3] = {
        {"photo.jpg", "", "photo.jpg"}, {"dir/", "dir/", ""}, {"/var/a.jpg", "/var/", "a.jpg"}};
    for (const auto& row : rows) {
        std::string path = "old", fileName = "old";
        ClientUtils::splitFilenameAndPath(row[0], path, fileName);
        expectEqual(std::string("the path of ") + quoted(row[0]), row[1], path);
        expectEqual(std::string("the file name of ") + quoted(row[0]), row[2], fileName);
    }
}

}  // namespace

std::vector<Check> textChecks() {
    return {
        {"utils.gsbk.first-pair", firstPair, 10},
        {"utils.gsbk.removes-only-the-match", removesTheMatch, 10},
        {"utils.gsbk.no-pair-changes-nothing", noPairChangesNothing, 10},
        {"utils.gsbk.binary-safe", binarySafe, 10},
        {"utils.gsbk.empty-keyword", emptyKeywords, 10},
        {"utils.gsbk.empty-between", emptyBetween, 10},
        {"utils.itos.plain-decimal", plainDecimal, 10},
        {"utils.escape.xml-safe", xmlSafe, 10},
        {"utils.escape.five-entities", fiveEntities, 10},
        {"utils.replace.scheme-removed", schemeRemoved, 10},
        {"utils.replace.every-occurrence", everyOccurrence, 10},
        {"utils.split.bare-file-name", bareFileName, 10},
        {"utils.split.edges", splitEdges, 10},
    };
}

}  // namespace conformance
