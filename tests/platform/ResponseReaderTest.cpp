// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The platform's response reader on a scripted byte source: every reply row of replies/ that is not
// about the socket under it (ReplyFiles.h says which are), its bytes arriving in the pieces the
// file cuts. That no reading depends on how the bytes arrive is the response reader fuzzer's check.
#include <gtest/gtest.h>

#include "HttpMessage.h"
#include "ReplyFiles.h"
#include "ResponseReader.h"
#include "ScriptedSource.h"

namespace {

using linux_platform::http::ByteSource;
using linux_platform::http::ResponseReader;
using Outcome = std::map<std::string, std::string>;
using replyfiles::Ending;
using replyfiles::ReplyFile;

// The reader's outcome in the terms of the reply files, as the HTTP client reads an answer: the
// body in pieces of at most 200 KiB, a keep-alive request, the reader walking away after `reads`.
Outcome readReply(const ReplyFile& file) {
    const auto ending =
        file.ending == Ending::Open ? ByteSource::ReceiveResult::TimedOut : ByteSource::ReceiveResult::PeerClosed;
    testsupport::ScriptedSource source(file.pieces, ending);
    ResponseReader reader(source);
    linux_platform::http::StatusLine status;
    linux_platform::http::HeaderMap headers;
    Outcome seen{{"result", "failure"}, {"status", "0"},  {"length", "-1"},      {"body", ""},
                 {"pieces", "0"},       {"usable", "no"}, {"redirect-host", ""}, {"log", ""}};
    if (!reader.readHead(file.field("request") == "HEAD", true, status, headers)) {
        seen["log"] = reader.failure();
        return seen;
    }
    seen["status"] = std::to_string(status.code);
    seen["length"] = std::to_string(reader.announcedLength());
    seen["redirect-host"] =
        linux_platform::http::hostOfLocation(linux_platform::http::headerValue(headers, "Location"));
    const std::size_t reads = std::strtoul(file.field("reads").c_str(), nullptr, 10);
    std::string body, pieces;
    ResponseReader::Outcome result = ResponseReader::Outcome::More;
    for (std::size_t read = 1; result == ResponseReader::Outcome::More; ++read) {
        const std::size_t before = body.size();
        result = reader.readBody(body, 204800);
        pieces += (read > 1 ? " " : "") + std::to_string(body.size() - before);
        if (read == reads) {
            break;
        }
    }
    const bool complete = result == ResponseReader::Outcome::Complete;
    seen["result"] = complete ? "complete" : result == ResponseReader::Outcome::More ? "more" : "failure";
    seen["body"] = body;
    seen["pieces"] = pieces;
    seen["log"] = complete ? "" : reader.failure();
    // Another exchange fits only on a stream in step: nothing left over, no end of stream pending.
    const bool inStep = complete && !reader.closesConnection() && source.drained() && file.ending == Ending::Open;
    seen["usable"] = inStep ? "yes" : "no";
    return seen;
}

class ScriptedReplyTest : public ::testing::TestWithParam<std::string> {};

// Every outcome field the file gives is compared, "log" also when it gives none.
TEST_P(ScriptedReplyTest, EndsAsTheFileSays) {
    const ReplyFile file = replyfiles::readReplyFile(GetParam());
    Outcome expected{{"log", ""}};
    for (const auto& [key, value] : file.fields) {
        if (key != "request" && key != "reads") {
            expected[key] = value;
        }
    }
    Outcome seen = readReply(file);
    for (const auto& [key, value] : expected) {
        ASSERT_EQ(seen.count(key), 1u) << "unknown field " << key;
        EXPECT_TRUE(seen[key] == value) << key << ": " << seen[key].substr(0, 100) << " (" << seen[key].size()
                                        << " bytes)";
    }
}

INSTANTIATE_TEST_SUITE_P(Replies, ScriptedReplyTest, ::testing::ValuesIn(replyfiles::replyNames(false)),
                         [](const auto& info) { return replyfiles::testNameOf(info.param); });

}  // namespace
