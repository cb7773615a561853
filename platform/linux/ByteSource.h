// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Where an HTTP response reader takes its bytes from: the bytes received but not yet taken (the
// inbox), and a way to receive more. A connection's socket is one source; a script of pieces, in
// the tests and the response reader's fuzz target, is another, so that every rule of the reader
// can be exercised without a socket.
#include <cstddef>
#include <string>
#include <string_view>

namespace linux_platform {
namespace http {

class ByteSource {
public:
    enum class ReceiveResult { Data, PeerClosed, TimedOut, Failed };

    virtual ~ByteSource() = default;

    // Appends what one receive brings to the unread bytes. After the peer's end of stream the
    // unread bytes stay readable.
    virtual ReceiveResult receiveMore() = 0;

    // The bytes received but not taken yet. Taking (at most unread().size() bytes) only moves a
    // position: taking many small pieces (chunk lines, small chunks) off a full inbox would
    // otherwise move all of the rest each time. The taken bytes are dropped before more arrive.
    std::string_view unread() const { return std::string_view(m_inbox).substr(m_consumed); }
    void consume(std::size_t count) { m_consumed += count; }

protected:
    ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // Drops the taken bytes, then appends `count` new ones. Only an incomplete line or nothing at
    // all is left unread when more is asked for, so this moves few bytes.
    void append(const char* bytes, std::size_t count) {
        m_inbox.erase(0, m_consumed);
        m_consumed = 0;
        m_inbox.append(bytes, count);
    }
    // Forgets every byte, taken or not.
    void forget() {
        m_inbox.clear();
        m_consumed = 0;
    }

private:
    std::string m_inbox;
    std::size_t m_consumed = 0;  // bytes at the front of m_inbox that are already taken
};

}  // namespace http
}  // namespace linux_platform
