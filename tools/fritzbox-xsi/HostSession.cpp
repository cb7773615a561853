#include "HostSession.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace host {

std::string readToken(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        if (errno == ENOENT) {
            return "";
        }
        throw std::runtime_error("cannot read token file " + path + ": " + std::strerror(errno));
    }
    std::string token;
    std::getline(file, token);
    return token;
}

void writeToken(const std::string& path, const std::string& token) {
    const std::string temporary = path + ".tmp";
    {
        std::ofstream file(temporary, std::ios::trunc);
        file << token << '\n';
        if (!file.flush()) {
            throw std::runtime_error("cannot write token file " + temporary + ": " + std::strerror(errno));
        }
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        throw std::runtime_error("cannot replace token file " + path + ": " + std::strerror(errno));
    }
}

bool parseDataSet(const std::string& name, Broadsoft::Filters::FilterTypes& filter) {
    if (name == "calllogs") {
        filter = Broadsoft::Filters::CallLogs;
        return true;
    }
    if (name == "directory") {
        filter = Broadsoft::Filters::Personal;
        return true;
    }
    return false;
}

bool runSyncs(const SyncPlan& plan, std::ostream& out, const std::function<void(int, bool)>& afterEach) {
    HostSession session(plan.user, plan.password);
    std::string& token = session.token(plan.filter);
    if (!plan.tokenFile.empty()) {
        token = readToken(plan.tokenFile);
    }
    bool result = false;
    for (int round = 1; round <= plan.repeat; ++round) {
        if (round > 1 && plan.intervalSeconds > 0) {
            std::this_thread::sleep_for(std::chrono::duration<double>(plan.intervalSeconds));
        }
        result = session.sync(plan.filter);
        if (!plan.tokenFile.empty()) {
            writeToken(plan.tokenFile, token);
        }
        out << session.document(plan.filter) << '\n' << std::flush;
        if (afterEach) {
            afterEach(round, result);
        }
    }
    return result;
}

}  // namespace host
