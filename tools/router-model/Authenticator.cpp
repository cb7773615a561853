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

Authenticator::Authenticator(LoginRules rules) : rules_(std::move(rules)), random_(std::random_device{}()) {}

std::string Authenticator::issueChallenge() {
    challenges_.push_back(rules_.fixedChallenge.empty() ? randomHex(8) : rules_.fixedChallenge);
    if (challenges_.size() > kValidChallenges) {
        challenges_.pop_front();
    }
    return challenges_.back();
}

std::string Authenticator::login(const std::string& user, const std::string& response, bool keepSession,
                                 Clock::time_point now) {
    const bool accepted = user == rules_.user && now >= blockedUntil_ && useMatchingChallenge(response);
    if (!accepted) {
        ++consecutiveFailures_;
        if (rules_.blockAfterFailures) {
            blockedUntil_ = now + std::chrono::seconds(blockSecondsAfter(consecutiveFailures_));
        }
        return "";
    }
    consecutiveFailures_ = 0;
    forgetIdleSessions(now);
    std::string sid = newSessionId();
    if (keepSession) {
        sessions_[sid] = now;
    }
    return sid;
}

bool Authenticator::useSession(const std::string& sid, Clock::time_point now) {
    const auto session = sessions_.find(sid);
    if (session == sessions_.end()) {
        return false;
    }
    if (now - session->second >= rules_.sessionIdle) {
        sessions_.erase(session);
        return false;
    }
    session->second = now;
    return true;
}

void Authenticator::endSession(const std::string& sid) {
    sessions_.erase(sid);
}

int Authenticator::remainingBlockSeconds(Clock::time_point now) const {
    if (now >= blockedUntil_) {
        return 0;
    }
    // Rounded up, so a client that waits this long is no longer blocked.
    const auto remaining = std::chrono::ceil<std::chrono::seconds>(blockedUntil_ - now);
    return static_cast<int>(remaining.count());
}

// Hex digits carry no meaning in their case, so the response is compared in lower case (the
// challenges themselves are lower-case hex).
bool Authenticator::useMatchingChallenge(const std::string& response) {
    const std::string given = toLower(response);
    const auto match = std::find_if(challenges_.begin(), challenges_.end(), [&](const std::string& challenge) {
        return loginResponse(challenge, rules_.password, rules_.form) == given;
    });
    if (match == challenges_.end()) {
        return false;
    }
    challenges_.erase(match);
    return true;
}

// Sessions nobody ends would pile up in a long run; expired ones are dropped at each login.
void Authenticator::forgetIdleSessions(Clock::time_point now) {
    for (auto session = sessions_.begin(); session != sessions_.end();) {
        session = now - session->second >= rules_.sessionIdle ? sessions_.erase(session) : std::next(session);
    }
}

std::string Authenticator::newSessionId() {
    if (!rules_.fixedSessionId.empty()) {
        return rules_.fixedSessionId;
    }
    std::string sid;
    do {
        sid = randomHex(16);
    } while (sid == kZeroSid || sessions_.count(sid) != 0);
    return sid;
}

std::string Authenticator::randomHex(std::size_t digits) {
    static const char kHexDigits[] = "0123456789abcdef";
    std::uniform_int_distribution<int> digit(0, 15);
    std::string hex;
    for (std::size_t i = 0; i < digits; ++i) {
        hex += kHexDigits[digit(random_)];
    }
    return hex;
}

}  // namespace routersim
