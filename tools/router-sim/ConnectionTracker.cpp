// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "ConnectionTracker.h"

#include <iterator>

namespace routersim {

bool ConnectionTracker::noteRequest(const std::string& peer, Clock::time_point now) {
    const auto known = lastActivity_.find(peer);
    const bool isNew = known == lastActivity_.end() || now - known->second > keepAliveTimeout_;
    if (isNew) {
        forgetClosedConnections(now);
    }
    lastActivity_[peer] = now;
    return isNew;
}

void ConnectionTracker::noteAnswer(const std::string& peer, Clock::time_point now) {
    lastActivity_[peer] = now;
}

// Entries of connections the server has closed by now would only pile up.
void ConnectionTracker::forgetClosedConnections(Clock::time_point now) {
    for (auto entry = lastActivity_.begin(); entry != lastActivity_.end();) {
        entry = now - entry->second > keepAliveTimeout_ ? lastActivity_.erase(entry) : std::next(entry);
    }
}

}  // namespace routersim
