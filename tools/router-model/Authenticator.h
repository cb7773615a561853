// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The login side of the simulated router: the challenges handed out, the sessions logged in, and
// the block that follows failed logins. Not thread-safe; the simulator calls it under its lock.
#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <random>
#include <string>

#include "LoginForm.h"

namespace routersim {

using Clock = std::chrono::steady_clock;

// Who may log in and how the router hands out challenges and sessions.
struct LoginRules {
    std::string user;
    std::string password;
    LoginForm form = LoginForm::Module;
    std::chrono::seconds sessionIdle{1200};  // a session unused this long has expired
    bool blockAfterFailures = true;          // failed logins block further ones for a while
    // Not empty: every challenge, and every new session's id, is this value instead of a random
    // one, so that a run's requests can be compared byte for byte.
    std::string fixedChallenge;
    std::string fixedSessionId;
};

// The SID of every answer that carries no session.
constexpr const char* kZeroSid = "0000000000000000";

class Authenticator {
public:
    explicit Authenticator(LoginRules rules);

    // A fresh challenge. It stays valid until a login uses it or newer ones push it out, so
    // clients that fetch challenges at the same time do not spoil each other's logins.
    std::string issueChallenge();

    // Checks a login attempt and answers the new session's id, or "" when the attempt failed.
    // While a block lasts every attempt fails, and each failure lengthens the block (see
    // remainingBlockSeconds). With `keepSession` false the id is issued but no session is kept.
    std::string login(const std::string& user, const std::string& response, bool keepSession, Clock::time_point now);

    // True when `sid` names a session that has not been idle too long; using it restarts the idle time.
    bool useSession(const std::string& sid, Clock::time_point now);
    void endSession(const std::string& sid);
    // Keeps `sid` as a session from now on, as if a login had given it.
    void openSession(const std::string& sid, Clock::time_point now) { m_sessions[sid] = now; }
    int remainingBlockSeconds(Clock::time_point now) const;

    const std::string& user() const { return m_rules.user; }

private:
    bool useMatchingChallenge(const std::string& response);
    void forgetIdleSessions(Clock::time_point now);
    std::string newSessionId();
    std::string randomHex(std::size_t digits);

    LoginRules m_rules;
    std::deque<std::string> m_challenges;                 // newest last
    std::map<std::string, Clock::time_point> m_sessions;  // sid -> last use
    int m_consecutiveFailures = 0;
    Clock::time_point m_blockedUntil{};
    std::mt19937_64 m_random;
};

}  // namespace routersim
