// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// A byte source that hands a response reader its bytes as a script says: one piece per receive,
// then an ending (the peer's end of stream, silence until the time-out, or a failure), as a socket
// would, without one.
#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "ByteSource.h"

namespace testsupport {

class ScriptedSource : public linux_platform::http::ByteSource {
public:
    ScriptedSource(const std::vector<std::string>& pieces, ReceiveResult ending) : m_ending(ending) {
        for (const std::string& piece : pieces) {
            m_bytes += piece;
            m_pieceEnds.push_back(m_bytes.size());
        }
    }
    // `bytes` in pieces of `pieceSize` (the last one shorter), cut as they are received.
    ScriptedSource(std::string bytes, std::size_t pieceSize, ReceiveResult ending)
        : m_bytes(std::move(bytes)), m_pieceSize(std::max<std::size_t>(pieceSize, 1)), m_ending(ending) {}

    // A receive never brings zero bytes: empty pieces are passed over.
    ReceiveResult receiveMore() override {
        while (!drainedSource()) {
            const std::size_t begin = m_delivered;
            m_delivered = nextPieceEnd();
            if (m_delivered > begin) {
                append(m_bytes.data() + begin, m_delivered - begin);
                return ReceiveResult::Data;
            }
        }
        return m_ending;
    }
    // True when every piece was received and taken.
    bool drained() const { return drainedSource() && unread().empty(); }

private:
    bool drainedSource() const {
        return m_pieceSize > 0 ? m_delivered == m_bytes.size() : m_next == m_pieceEnds.size();
    }
    std::size_t nextPieceEnd() {
        return m_pieceSize > 0 ? std::min(m_delivered + m_pieceSize, m_bytes.size()) : m_pieceEnds[m_next++];
    }

    std::string m_bytes;                   // every piece, one after the other
    std::vector<std::size_t> m_pieceEnds;  // where each piece ends in m_bytes, when given as pieces
    std::size_t m_pieceSize = 0;           // else: the size of every piece
    std::size_t m_next = 0;
    std::size_t m_delivered = 0;
    ReceiveResult m_ending;
};

}  // namespace testsupport
