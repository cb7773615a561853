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
    // `bytes` in pieces of `pieceSize` (the last one shorter).
    ScriptedSource(std::string bytes, std::size_t pieceSize, ReceiveResult ending)
        : m_bytes(std::move(bytes)), m_ending(ending) {
        for (std::size_t end = pieceSize; end < m_bytes.size() + pieceSize; end += pieceSize) {
            m_pieceEnds.push_back(std::min(end, m_bytes.size()));
        }
    }

    // A receive never brings zero bytes: empty pieces are passed over.
    ReceiveResult receiveMore() override {
        while (m_next < m_pieceEnds.size()) {
            const std::size_t begin = m_delivered;
            m_delivered = m_pieceEnds[m_next++];
            if (m_delivered > begin) {
                append(m_bytes.data() + begin, m_delivered - begin);
                return ReceiveResult::Data;
            }
        }
        return m_ending;
    }
    // True when every piece was received and taken.
    bool drained() const { return m_next == m_pieceEnds.size() && unread().empty(); }

private:
    std::string m_bytes;                   // every piece, one after the other
    std::vector<std::size_t> m_pieceEnds;  // where each piece ends in m_bytes
    std::size_t m_next = 0;
    std::size_t m_delivered = 0;
    ReceiveResult m_ending;
};

}  // namespace testsupport
