// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "ConnectionTracker.h"

#include <iterator>

namespace routersim {

bool ConnectionTracker::noteRequest(const std::string& peer, Clock::time_point now) {
    const auto known = m_lastActivity.find(peer);
    const bool isNew = known == m_lastActivity.end() || now - known->second > m_keepAliveTimeout;
    if (isNew) {
        forgetClosedConnections(now);
    }
    m_lastActivity[peer] = now;
    return isNew;
}

void ConnectionTracker::noteAnswer(const std::string& peer, Clock::time_point now) {
    m_lastActivity[peer] = now;
}

// Entries of connections the server has closed by now would only pile up.
void ConnectionTracker::forgetClosedConnections(Clock::time_point now) {
    for (auto entry = m_lastActivity.begin(); entry != m_lastActivity.end();) {
        entry = now - entry->second > m_keepAliveTimeout ? m_lastActivity.erase(entry) : std::next(entry);
    }
}

}  // namespace routersim
