#include "Demo.h"

#include <dirent.h>

#include <vector>

#include "HostSession.h"
#include "LinuxPlatform.h"
#include "ProgramFiles.h"
#include "SimulatorProcess.h"

namespace host {
namespace {

// The simulator's default credentials, which are also those of its bundled sample.
const char* const kDemoUser = "admin";
const char* const kDemoPassword = "geheim";
const char* const kPictureDirectory = "/data/images/fritzbox/";

std::vector<std::string> picturesOnDisk() {
    std::vector<std::string> names;
    if (DIR* directory = opendir(kPictureDirectory)) {
        while (const dirent* item = readdir(directory)) {
            const std::string name = item->d_name;
            if (name != "." && name != "..") {
                names.push_back(name);
            }
        }
        closedir(directory);
    }
    return names;
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

bool runDemo(const DemoOptions& options, std::ostream& out, std::ostream& err) {
    linux_platform::PhoneModel model;
    if (!linux_platform::parsePhoneModel(options.model, model)) {
        err << "fritzbox-xsi demo: unknown model '" << options.model << "'\n";
        return false;
    }
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
    {
        HostSession session(kDemoUser, kDemoPassword);
        linux_platform::setLogLevel(6);

        heading(out, "1. Call logs: login and call list");
        converted = syncAndShow(session, Broadsoft::Filters::CallLogs, out) && converted;
        out << "The placed, received and missed lists stay empty by design of this version of the module: every "
               "record is converted and then dropped when it is filed. The converted records are the "
               "\"handleSingleCallLogRecord() type=...\" lines of the log (stderr), with their identifiers in the "
               "\"getCallLogId()\" lines.\n";

        heading(out, "2. Personal directory: phonebook export and pictures");
        converted = syncAndShow(session, Broadsoft::Filters::Personal, out) && converted;
        const std::vector<std::string> pictures = picturesOnDisk();
        out << pictures.size() << " contact picture(s) in " << kPictureDirectory << " while the module object lives";
        for (const std::string& name : pictures) {
            out << " " << name;
        }
        out << "\n";

        heading(out, "3. Again, with the router's data unchanged");
        linux_platform::setLogLevel(2);
        const bool callLogsAgain = syncAndShow(session, Broadsoft::Filters::CallLogs, out);
        const bool directoryAgain = syncAndShow(session, Broadsoft::Filters::Personal, out);
        out << "Both syncs returned false: the change tokens show that nothing changed, so nothing was converted "
               "(the phone keeps the documents it already has).\n";
        converted = converted && !callLogsAgain && !directoryAgain;
    }

    const linux_platform::TransportStats stats = linux_platform::transportStats();
    heading(out, "Summary");
    out << "The module sent " << stats.requestsSent << " requests over " << stats.connectionsOpened
        << " TCP connection(s); the picture directory was removed with the module object (" << picturesOnDisk().size()
        << " files left).\n"
        << (converted ? "Demo finished as expected.\n" : "Demo did NOT go as expected; see the log above.\n");
    return converted;
}

}  // namespace host
