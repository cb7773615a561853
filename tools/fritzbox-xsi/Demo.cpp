// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Demo.h"

#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include "HostSession.h"
#include "LinuxPlatform.h"
#include "ProgramFiles.h"
#include "SampleRouter.h"
#include "SimulatorProcess.h"

namespace host {
namespace {

// What follows a directory entry's name when the module stored a picture for it: "@@@" and the
// picture's path, up to the end of the <name> element.
const std::string kPictureMarker = "@@@";

// The picture files the directory document names, so the demo shows what the module wrote
// without knowing where the module writes.
std::vector<std::string> picturesNamed(const std::string& document) {
    std::vector<std::string> paths;
    for (std::size_t at = document.find(kPictureMarker); at != std::string::npos;
         at = document.find(kPictureMarker, at)) {
        at += kPictureMarker.size();
        paths.push_back(document.substr(at, document.find('<', at) - at));
    }
    return paths;
}

std::size_t countOnDisk(const std::vector<std::string>& paths) {
    return std::count_if(paths.begin(), paths.end(), [](const std::string& path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    });
}

void heading(std::ostream& out, const std::string& text) {
    out << "\n=== " << text << " ===\n" << std::flush;
}

bool syncAndShow(HostSession& session, Broadsoft::Filters::FilterTypes filter, std::ostream& out) {
    const bool result = session.sync(filter);
    out << "sync(" << static_cast<int>(filter) << ") returned " << (result ? "true" : "false") << ", change token now '"
        << session.token(filter) << "'\n";
    out << "getData(" << static_cast<int>(filter) << "):\n" << session.document(filter) << "\n" << std::flush;
    return result;
}

std::vector<std::string> simulatorArguments(const std::string& dataDirectory) {
    std::vector<std::string> arguments{"--listen", "127.0.0.1", "--port", "0"};
    if (!dataDirectory.empty()) {
        arguments.insert(arguments.end(), {"--data", dataDirectory});
    }
    return arguments;
}

}  // namespace

bool runDemo(const DemoOptions& options, linux_platform::PhoneModel model, std::ostream& out) {
    const SimulatorProcess simulator(tools::executableDirectory() + "/fritzbox-router-sim",
                                     simulatorArguments(options.dataDirectory));
    linux_platform::mapHost("fritz.box", "80", simulator.address(), simulator.port());
    linux_platform::setPhoneModel(model);
    linux_platform::resetTransportStats();

    out << "Router simulator (fritzbox-router-sim) on " << simulator.address() << ":" << simulator.port() << " serving "
        << (options.dataDirectory.empty() ? "its bundled sample data" : options.dataDirectory) << "\n"
        << "The module's requests to fritz.box:80 go there. Phone model: " << options.model
        << ". Module log lines (level 6) follow on stderr.\n";

    bool converted = true;
    std::vector<std::string> pictures;
    {
        HostSession session(tools::kSampleRouterUser, tools::kSampleRouterPassword);
        linux_platform::setLogLevel(6);

        heading(out, "1. Call logs: login and call list");
        converted = syncAndShow(session, Broadsoft::Filters::CallLogs, out) && converted;
        out << "The placed, received and missed lists stay empty by design of this version of the module: every "
               "record is converted and then dropped when it is filed. The converted records are the "
               "\"handleSingleCallLogRecord() type=...\" lines of the log (stderr), with their identifiers in the "
               "\"getCallLogId()\" lines.\n";

        heading(out, "2. Personal directory: phonebook export and pictures");
        converted = syncAndShow(session, Broadsoft::Filters::Personal, out) && converted;
        pictures = picturesNamed(session.document(Broadsoft::Filters::Personal));
        const std::size_t stored = countOnDisk(pictures);
        out << pictures.size() << " contact picture(s) named in the directory, " << stored
            << " of them on disk while the module object lives:";
        for (const std::string& path : pictures) {
            out << " " << path;
        }
        out << "\n";
        converted = converted && stored == pictures.size();
        // The bundled sample has photos: on a picture model none stored means the module could not
        // write its picture directory, which the count alone (0 of 0) would hide.
        if (pictures.empty() && options.dataDirectory.empty() && model != linux_platform::PhoneModel::Other) {
            out << "No contact picture was stored although the sample router has photos: the module could not "
                   "write /data/images/fritzbox/ (is /data writable?).\n";
            converted = false;
        }

        heading(out, "3. Again, with the router's data unchanged");
        linux_platform::setLogLevel(2);
        const bool callLogsAgain = syncAndShow(session, Broadsoft::Filters::CallLogs, out);
        const bool directoryAgain = syncAndShow(session, Broadsoft::Filters::Personal, out);
        out << "Both syncs returned false: the change tokens show that nothing changed, so nothing was converted "
               "(the phone keeps the documents it already has).\n";
        converted = converted && !callLogsAgain && !directoryAgain;
    }

    const linux_platform::TransportStats stats = linux_platform::transportStats();
    const std::size_t left = countOnDisk(pictures);
    converted = converted && left == 0;
    heading(out, "Summary");
    out << "The module sent " << stats.requestsSent << " requests over " << stats.connectionsOpened
        << " TCP connection(s); its pictures went with the module object (" << left << " of them left).\n"
        << (converted ? "Demo finished as expected.\n" : "Demo did NOT go as expected; see the log above.\n");
    return converted;
}

}  // namespace host
