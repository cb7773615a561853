// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "ResponseReader.h"

#include <algorithm>

#include "LinuxPlatform.h"

namespace linux_platform {
namespace http {
namespace {

// Caps that keep a broken or hostile peer from making the client buffer without bound.
constexpr std::size_t kMaxHeaderBlockBytes = 64 * 1024;
constexpr std::size_t kMaxChunkLineBytes = 4 * 1024;
constexpr std::uint64_t kMaxBodyBytes = kMaxResponseBodyBytes;

using ReceiveResult = ByteSource::ReceiveResult;

const char* const kNoValidHead = "no valid response head";
// One reason for every body failure, wherever it shows: a bad chunk header met by a read's
// look-ahead is the same fault as one met at the start of the next read.
const char* const kBadBody = "response body incomplete, oversized or malformed";

}  // namespace

bool ResponseReader::readHead(bool headRequest, bool keepAliveRequested, StatusLine& status, HeaderMap& headers) {
    std::size_t budget = kMaxHeaderBlockBytes;
    do {
        if (!readHeaderBlock(budget, status, headers)) {
            return false;
        }
    } while (status.code < 200 && status.code != 101);
    if (status.code == 101) {
        return fail("unexpected 101 Switching Protocols");
    }
    const std::string connectionOptions = headerValue(headers, "Connection");
    const bool beforeHttp11 = status.majorVersion < 1 || (status.majorVersion == 1 && status.minorVersion == 0);
    m_closeWhenDone = !keepAliveRequested || hasToken(connectionOptions, "close") ||
                      (beforeHttp11 && !hasToken(connectionOptions, "keep-alive"));
    return chooseFraming(headRequest, status, headers);
}

// Works out how the body ends, by the HTTP/1.1 message length rules.
bool ResponseReader::chooseFraming(bool headRequest, const StatusLine& status, const HeaderMap& headers) {
    const bool hasLength = hasHeader(headers, "Content-Length");
    if (headRequest || status.code == 204 || status.code == 304) {
        m_framing = Framing::None;
    } else if (hasHeader(headers, "Transfer-Encoding")) {
        // Chunked is the only coding this client decodes; a body under any other would reach the
        // caller still encoded (or, without chunks, end nowhere the caller could tell).
        if (!isSoleToken(headerValue(headers, "Transfer-Encoding"), "chunked")) {
            return fail("Transfer-Encoding the client cannot decode (only chunked)");
        }
        m_framing = Framing::Chunked;
        // A length beside a transfer coding is ignored, but a sender that writes both may be
        // smuggling a second message; the connection carries nothing after this one.
        m_closeWhenDone = m_closeWhenDone || hasLength;
    } else if (hasLength) {
        if (!parseContentLength(headerValue(headers, "Content-Length"), kMaxBodyBytes, m_framedBytesLeft)) {
            return fail("invalid or oversized Content-Length");
        }
        m_framing = Framing::Length;
    } else {
        m_framing = Framing::UntilClose;
    }
    m_closeWhenDone = m_closeWhenDone || m_framing == Framing::UntilClose;
    m_bodyComplete = m_framing == Framing::None || (m_framing == Framing::Length && m_framedBytesLeft == 0);
    return true;
}

std::int64_t ResponseReader::announcedLength() const {
    if (m_framing == Framing::Length || m_framing == Framing::None) {
        return static_cast<std::int64_t>(m_framedBytesLeft + m_bodyBytesRead);
    }
    return -1;
}

ResponseReader::Outcome ResponseReader::readBody(std::string& out, std::size_t maxLength) {
    std::size_t budget = maxLength;
    while (budget > 0 && !m_bodyComplete) {
        if (!readBodyPiece(out, budget)) {
            fail(kBadBody);
            return Outcome::Failed;
        }
    }
    // At the end of a chunk only the next chunk header tells whether the body goes on; reading it
    // now lets the caller learn that the body is complete together with its last bytes.
    if (!m_bodyComplete && m_framing == Framing::Chunked && m_framedBytesLeft == 0 && !readChunkHeader()) {
        fail(kBadBody);
        return Outcome::Failed;
    }
    return m_bodyComplete ? Outcome::Complete : Outcome::More;
}

ReceiveResult ResponseReader::receive() {
    const ReceiveResult result = m_stream.receiveMore();
    m_receivedAny = m_receivedAny || result == ReceiveResult::Data;
    m_peerClosed = result == ReceiveResult::PeerClosed;
    return result;
}

// Reads one line ending in LF (a preceding CR is dropped); `line` is empty when there is none.
// `budget` limits the bytes the line may take, its LF included, and is reduced by what it took.
bool ResponseReader::readLine(std::size_t& budget, std::string& line) {
    line.clear();
    std::size_t scanned = 0;
    for (;;) {
        const std::string_view unread = m_stream.unread();
        const std::size_t end = unread.find('\n', scanned);
        // Without its LF yet, the line is at least as long as what has arrived.
        if (std::min(end, unread.size()) >= budget) {
            return false;
        }
        if (end != std::string_view::npos) {
            budget -= end + 1;
            line.assign(unread.data(), end);
            m_stream.consume(end + 1);
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            return true;
        }
        scanned = unread.size();
        if (receive() != ReceiveResult::Data) {
            return false;
        }
    }
}

bool ResponseReader::readHeadLine(std::size_t& budget, std::string& line) {
    if (!readLine(budget, line)) {
        return fail(kNoValidHead);
    }
    return isCleanHeadLine(line) || fail("NUL or bare CR in the response head");
}

// The status line and the field lines up to the empty line; a folded line joins the field line
// before it.
bool ResponseReader::readHeaderBlock(std::size_t& budget, StatusLine& status, HeaderMap& headers) {
    headers.clear();
    std::string line;
    if (!readHeadLine(budget, line)) {
        return false;
    }
    if (!parseStatusLine(line, status)) {
        return fail(kNoValidHead);
    }
    std::string fieldLine;  // empty before the first field line
    for (;;) {
        if (!readHeadLine(budget, line)) {
            return false;
        }
        if (!fieldLine.empty() && isFoldedLine(line)) {
            unfoldInto(fieldLine, line);
            continue;
        }
        if (!fieldLine.empty() && !addField(fieldLine, headers)) {
            return false;
        }
        if (line.empty()) {
            return true;
        }
        fieldLine = line;
    }
}

bool ResponseReader::addField(const std::string& fieldLine, HeaderMap& headers) {
    std::string name;
    std::string value;
    if (!parseHeaderLine(fieldLine, name, value)) {
        return fail(kNoValidHead);
    }
    headers.emplace(name, value);
    return true;
}

bool ResponseReader::readBodyPiece(std::string& out, std::size_t& budget) {
    switch (m_framing) {
        case Framing::Length:
            if (!takeFramedBytes(out, budget)) {
                return false;
            }
            m_bodyComplete = m_framedBytesLeft == 0;
            return true;
        case Framing::Chunked:
            if (m_framedBytesLeft == 0) {
                return readChunkHeader();
            }
            return takeFramedBytes(out, budget) && (m_framedBytesLeft > 0 || readChunkTerminator());
        case Framing::UntilClose:
            return takeBytesUntilClose(out, budget);
        case Framing::None:
            break;
    }
    m_bodyComplete = true;
    return true;
}

// Moves received bytes of the current Content-Length body or chunk into `out`; the peer closing
// before they are all there fails the read.
bool ResponseReader::takeFramedBytes(std::string& out, std::size_t& budget) {
    if (m_stream.unread().empty() && receive() != ReceiveResult::Data) {
        return false;
    }
    const std::string_view unread = m_stream.unread();
    std::size_t count = unread.size() < budget ? unread.size() : budget;
    if (count > m_framedBytesLeft) {
        count = static_cast<std::size_t>(m_framedBytesLeft);
    }
    out.append(unread.data(), count);
    m_stream.consume(count);
    budget -= count;
    m_framedBytesLeft -= count;
    m_bodyBytesRead += count;
    return true;
}

// A body without length or chunking ends where the peer closes the connection.
bool ResponseReader::takeBytesUntilClose(std::string& out, std::size_t& budget) {
    if (m_stream.unread().empty()) {
        const ReceiveResult received = receive();
        if (received == ReceiveResult::PeerClosed) {
            m_bodyComplete = true;
            return true;
        }
        if (received != ReceiveResult::Data) {
            return false;
        }
    }
    const std::string_view unread = m_stream.unread();
    const std::size_t count = unread.size() < budget ? unread.size() : budget;
    out.append(unread.data(), count);
    m_stream.consume(count);
    budget -= count;
    m_bodyBytesRead += count;
    return m_bodyBytesRead <= kMaxBodyBytes;
}

bool ResponseReader::readChunkHeader() {
    std::size_t budget = kMaxChunkLineBytes;
    std::string line;
    std::uint64_t size = 0;
    if (!readLine(budget, line) || !parseChunkSize(line, kMaxBodyBytes - m_bodyBytesRead, size)) {
        return false;
    }
    m_framedBytesLeft = size;
    return size > 0 || readTrailers();
}

bool ResponseReader::readChunkTerminator() {
    std::size_t budget = kMaxChunkLineBytes;
    std::string line;
    return readLine(budget, line) && line.empty();
}

// Trailer fields after the last chunk carry nothing the callers use; they are read and dropped.
bool ResponseReader::readTrailers() {
    std::size_t budget = kMaxHeaderBlockBytes;
    std::string line;
    do {
        if (!readLine(budget, line)) {
            return false;
        }
    } while (!line.empty());
    m_bodyComplete = true;
    return true;
}

bool ResponseReader::fail(const std::string& reason) {
    m_failure = reason;
    return false;
}

}  // namespace http
}  // namespace linux_platform
