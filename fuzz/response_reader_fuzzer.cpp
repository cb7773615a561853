// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The platform's HTTP response reader on whatever a router may send. The first byte chooses how the
// rest arrives (piece size) and how much each body read asks for; the rest is the wire. The same
// bytes are read a second time in one piece with one large read, and both readings must agree: the
// reader's result may not depend on how the bytes arrive or are asked for. Every read stays within
// what it asked for, a read that is not the last gives exactly that, and the body never passes the
// platform's cap.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzHarness.h"
#include "LinuxPlatform.h"
#include "ResponseReader.h"
#include "ScriptedSource.h"

namespace {

using linux_platform::http::ByteSource;
using linux_platform::http::ResponseReader;

const std::size_t kLargeRead = 1u << 20;

struct Reading {
    bool head = false;
    int status = 0;
    std::int64_t announced = -1;
    ResponseReader::Outcome outcome = ResponseReader::Outcome::Failed;
    std::string body;
    bool closes = false;
    std::string failure;

    bool operator==(const Reading& other) const {
        return head == other.head && status == other.status && announced == other.announced &&
               outcome == other.outcome && body == other.body && closes == other.closes && failure == other.failure;
    }
};

Reading read(const std::string& wire, std::size_t pieceSize, std::size_t readSize, bool headRequest) {
    testsupport::ScriptedSource source(wire, pieceSize, ByteSource::ReceiveResult::PeerClosed);
    ResponseReader reader(source);
    Reading reading;
    linux_platform::http::StatusLine status;
    linux_platform::http::HeaderMap headers;
    reading.head = reader.readHead(headRequest, true, status, headers);
    if (reading.head) {
        reading.status = status.code;
        reading.announced = reader.announcedLength();
        do {
            const std::size_t before = reading.body.size();
            reading.outcome = reader.readBody(reading.body, readSize);
            const std::size_t got = reading.body.size() - before;
            FUZZ_CHECK(got <= readSize);
            FUZZ_CHECK(reading.outcome != ResponseReader::Outcome::More || got == readSize);
            FUZZ_CHECK(reading.body.size() <= linux_platform::kMaxResponseBodyBytes);
        } while (reading.outcome == ResponseReader::Outcome::More);
        reading.closes = reader.closesConnection();
    }
    reading.failure = reader.failure();
    return reading;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string wire(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t pieceSize = 1 + (data[0] & 0x0f);
    const std::size_t readSize = 1 + ((data[0] >> 4) & 0x07) * 9;
    const bool headRequest = (data[0] & 0x80) != 0;
    const Reading cutUp = read(wire, pieceSize, readSize, headRequest);
    const Reading whole = read(wire, std::max<std::size_t>(wire.size(), 1), kLargeRead, headRequest);
    FUZZ_CHECK(cutUp == whole);
    if (whole.outcome == ResponseReader::Outcome::Complete) {
        // A body framed by its length is exactly that long, and any unencoded body is a part of the wire.
        FUZZ_CHECK(whole.announced < 0 || headRequest || whole.status == 204 || whole.status == 304 ||
                   static_cast<std::int64_t>(whole.body.size()) == whole.announced);
        FUZZ_CHECK(whole.announced < 0 || wire.find(whole.body) != std::string::npos);
    }
    return 0;
}
