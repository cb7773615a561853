// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Reads one HTTP/1.1 response off a byte source (a connection's socket, or a script): the head of the final answer,
// then the body in bounded pieces as its framing (Content-Length, chunked, or until the peer closes) says. It knows
// nothing about requests, retries or who owns the connection.
#include <cstddef>
#include <cstdint>
#include <string>

#include "ByteSource.h"
#include "HttpMessage.h"

namespace linux_platform {
namespace http {

class ResponseReader {
public:
    enum class Outcome { Complete, More, Failed };

    // The source must outlive the reader.
    explicit ResponseReader(ByteSource& stream) : m_stream(stream) {}

    // Reads the final answer's head, skipping interim 1xx answers, and works out the body's
    // framing. False when no intact head arrived or its framing cannot be read (a transfer coding
    // other than chunked); a 101 is refused as well, because this client never asks to switch
    // protocols and the stream no longer carries HTTP after one.
    bool readHead(bool headRequest, bool keepAliveRequested, StatusLine& status, HeaderMap& headers);
    // Appends at most `maxLength` body bytes to `out`.
    Outcome readBody(std::string& out, std::size_t maxLength);

    // The body length the head announced, or -1 when it announced none.
    std::int64_t announcedLength() const;
    // True when the connection cannot carry another exchange after this answer.
    bool closesConnection() const { return m_closeWhenDone; }
    // Why the last read failed.
    const std::string& failure() const { return m_failure; }
    // True when the peer closed the connection before a single byte of the answer arrived: the
    // request may never have been read (a kept connection the peer gave up just then).
    bool peerClosedBeforeAnswer() const { return !m_receivedAny && m_peerClosed; }

private:
    enum class Framing { None, Length, Chunked, UntilClose };

    ByteSource::ReceiveResult receive();
    bool readLine(std::size_t& budget, std::string& line);
    bool readHeadLine(std::size_t& budget, std::string& line);
    bool readHeaderBlock(std::size_t& budget, StatusLine& status, HeaderMap& headers);
    bool addField(const std::string& fieldLine, HeaderMap& headers);
    bool chooseFraming(bool headRequest, const StatusLine& status, const HeaderMap& headers);
    bool readBodyPiece(std::string& out, std::size_t& budget);
    bool takeFramedBytes(std::string& out, std::size_t& budget);
    bool takeBytesUntilClose(std::string& out, std::size_t& budget);
    bool readChunkHeader();
    bool readChunkTerminator();
    bool readTrailers();
    bool fail(const std::string& reason);

    ByteSource& m_stream;
    Framing m_framing = Framing::None;
    std::uint64_t m_framedBytesLeft = 0;  // Length: of the body; Chunked: of the current chunk
    std::uint64_t m_bodyBytesRead = 0;
    bool m_bodyComplete = false;
    bool m_closeWhenDone = false;
    bool m_receivedAny = false;
    bool m_peerClosed = false;
    std::string m_failure;
};

}  // namespace http
}  // namespace linux_platform
