// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// A byte source that hands a response reader its bytes as a script says: one piece per receive,
// then an ending (the peer's end of stream, silence until the time-out, or a failure), as a socket
// would, without one.
#include <string>
#include <utility>
#include <vector>

#include "ByteSource.h"

namespace testsupport {

class ScriptedSource : public linux_platform::http::ByteSource {
public:
    ScriptedSource(std::vector<std::string> pieces, ReceiveResult ending)
        : m_pieces(std::move(pieces)), m_ending(ending) {}

    // A receive never brings zero bytes: empty pieces are passed over.
    ReceiveResult receiveMore() override {
        while (m_next < m_pieces.size()) {
            const std::string& piece = m_pieces[m_next++];
            if (!piece.empty()) {
                append(piece.data(), piece.size());
                return ReceiveResult::Data;
            }
        }
        return m_ending;
    }
    // True when every piece was received and taken.
    bool drained() const { return m_next == m_pieces.size() && unread().empty(); }

private:
    std::vector<std::string> m_pieces;
    std::size_t m_next = 0;
    ReceiveResult m_ending;
};

}  // namespace testsupport
