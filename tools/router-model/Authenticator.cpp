// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Authenticator.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

namespace routersim {
namespace {

// Challenges kept valid at once; older ones are dropped as new ones are handed out.
constexpr std::size_t kValidChallenges = 8;
// The block after failed logins doubles from 1 s up to this.
constexpr int kLongestBlockSeconds = 64;

// 0 after the first failure, then 1, 2, 4, ... seconds up to kLongestBlockSeconds.
int blockSecondsAfter(int consecutiveFailures) {
    if (consecutiveFailures <= 1) {
        return 0;
    }
    const int doublings = std::min(consecutiveFailures - 2, 30);
    return std::min(1 << doublings, kLongestBlockSeconds);
}

std::string toLower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

}  // namespace

Authenticator::Authenticator(LoginRules rules) : m_rules(std::move(rules)), m_random(std::random_device{}()) {}

std::string Authenticator::issueChallenge() {
    m_challenges.push_back(m_rules.fixedChallenge.empty() ? randomHex(8) : m_rules.fixedChallenge);
    if (m_challenges.size() > kValidChallenges) {
        m_challenges.pop_front();
    }
    return m_challenges.back();
}

std::string Authenticator::login(const std::string& user, const std::string& response, bool keepSession,
                                 Clock::time_point now) {
    const bool accepted = user == m_rules.user && now >= m_blockedUntil && useMatchingChallenge(response);
    if (!accepted) {
        ++m_consecutiveFailures;
        if (m_rules.blockAfterFailures) {
            m_blockedUntil = now + std::chrono::seconds(blockSecondsAfter(m_consecutiveFailures));
        }
        return "";
    }
    m_consecutiveFailures = 0;
    forgetIdleSessions(now);
    std::string sid = newSessionId();
    if (keepSession) {
        m_sessions[sid] = now;
    }
    return sid;
}

bool Authenticator::useSession(const std::string& sid, Clock::time_point now) {
    const auto session = m_sessions.find(sid);
    if (session == m_sessions.end()) {
        return false;
    }
    if (now - session->second >= m_rules.sessionIdle) {
        m_sessions.erase(session);
        return false;
    }
    session->second = now;
    return true;
}

void Authenticator::endSession(const std::string& sid) {
    m_sessions.erase(sid);
}

int Authenticator::remainingBlockSeconds(Clock::time_point now) const {
    if (now >= m_blockedUntil) {
        return 0;
    }
    // Rounded up, so a client that waits this long is no longer blocked.
    const auto remaining = std::chrono::ceil<std::chrono::seconds>(m_blockedUntil - now);
    return static_cast<int>(remaining.count());
}

// Hex digits carry no meaning in their case, so the response is compared in lower case (the
// challenges themselves are lower-case hex).
bool Authenticator::useMatchingChallenge(const std::string& response) {
    const std::string given = toLower(response);
    const auto match = std::find_if(m_challenges.begin(), m_challenges.end(), [&](const std::string& challenge) {
        return loginResponse(challenge, m_rules.password, m_rules.form) == given;
    });
    if (match == m_challenges.end()) {
        return false;
    }
    m_challenges.erase(match);
    return true;
}

// Sessions nobody ends would pile up in a long run; expired ones are dropped at each login.
void Authenticator::forgetIdleSessions(Clock::time_point now) {
    for (auto session = m_sessions.begin(); session != m_sessions.end();) {
        session = now - session->second >= m_rules.sessionIdle ? m_sessions.erase(session) : std::next(session);
    }
}

std::string Authenticator::newSessionId() {
    if (!m_rules.fixedSessionId.empty()) {
        return m_rules.fixedSessionId;
    }
    std::string sid;
    do {
        sid = randomHex(16);
    } while (sid == kZeroSid || m_sessions.count(sid) != 0);
    return sid;
}

std::string Authenticator::randomHex(std::size_t digits) {
    static const char kHexDigits[] = "0123456789abcdef";
    std::uniform_int_distribution<int> digit(0, 15);
    std::string hex;
    for (std::size_t i = 0; i < digits; ++i) {
        hex += kHexDigits[digit(m_random)];
    }
    return hex;
}

}  // namespace routersim
