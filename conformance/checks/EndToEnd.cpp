// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The module itself on the platform, through its public interface only (FritzBox and
// BroadsoftServiceHelper), against the kit's router: what the phone's service sees.
#include <sys/stat.h>

#include <fstream>
#include <iterator>

#include "Adapter.h"
#include "BroadsoftServiceHelper.h"
#include "FritzBox.h"
#include "Kit.h"
#include "LogTap.h"
#include "Logging.h"
#include "LoopbackRouter.h"
#include "Md5.h"

namespace conformance {

using routersim::md5Hex;

namespace {

using Broadsoft::Filters::CallLogs;
using Broadsoft::Filters::Personal;

const std::string kPictures = "/data/images/fritzbox/";
const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const std::string kNamespace = " xmlns=\"http://schema.broadsoft.com/xsi\"";

const char* const kCallList =
    "sep=;\n"
    "Typ;Datum;Name;Rufnummer;Nebenstelle;Eigene Rufnummer;Dauer\n"
    "1;15.03.24 14:30;Anna Beispiel;030123456;Telefon;987654;0:05\n"
    "2;14.03.24 09:12;;0170111222;Telefon;987654;0:00\n"
    "3;13.03.24 18:45;Bob;0891234;Telefon;987654;0:12\n";

struct Contact {
    std::string name, number, pictureLocation = "";
};

// An export as a FritzBox writes it: the picture location inside <person>, before <telephony>.
std::string exportOf(const std::vector<Contact>& contacts) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?><phonebooks><phonebook name=\"Telefonbuch\">\n";
    int id = 0;
    for (const Contact& contact : contacts) {
        xml += "<contact><category>0</category><person><realName>" + contact.name + "</realName>" +
               (contact.pictureLocation.empty() ? "" : "<imageURL>" + contact.pictureLocation + "</imageURL>") +
               "</person><telephony nid=\"1\"><number type=\"home\" prio=\"1\" id=\"0\">" + contact.number +
               "</number></telephony><services /><setup /><uniqueid>" + std::to_string(++id) +
               "</uniqueid></contact>\n";
    }
    return xml + "</phonebook></phonebooks>\n";
}

std::string personalDocument(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string document = kDeclaration + "<Personal" + kNamespace + "><numberOfRecords>" +
                           std::to_string(entries.size()) + "</numberOfRecords><totalAvailableRecords>" +
                           std::to_string(entries.size()) + "</totalAvailableRecords>";
    for (const auto& [name, number] : entries) {
        document += "<entry><name>" + name + "</name><number>" + number + "</number></entry>";
    }
    return document + "</Personal>";
}

const std::string kEmptyCallLogs =
    kDeclaration + "<CallLogs" + kNamespace + "><placed></placed><received></received><missed></missed></CallLogs>";

std::vector<Contact> manyContacts(int count, const std::string& filler = "") {
    std::vector<Contact> contacts;
    for (int i = 0; i < count; ++i) {
        contacts.push_back({"Contact " + std::to_string(i) + filler, "0301" + std::to_string(100000 + i)});
    }
    return contacts;
}

std::vector<std::pair<std::string, std::string>> entriesOf(const std::vector<Contact>& contacts) {
    std::vector<std::pair<std::string, std::string>> entries;
    for (const Contact& contact : contacts) {
        entries.emplace_back(contact.name, contact.number);
    }
    return entries;
}

RouterScript fritzBox(const std::vector<Contact>& contacts = manyContacts(3)) {
    RouterScript script;
    script.callList = kCallList;
    script.exportXml = exportOf(contacts);
    return script;
}

// The module creates and deletes the phone's picture directory; a service's pictures are not the
// kit's to delete.
void requirePictureDirectory(const Context& context) {
    if (context.settings.pictureDirectoryInUse) {
        skip(kPictures +
             " existed before the kit ran (a running service's?); stop the service or pass "
             "--allow-picture-directory");
    }
}

// A module object with the router's credentials.
std::unique_ptr<FritzBox> moduleFor(const Context& context, const RouterScript& script) {
    requirePictureDirectory(context);
    return std::unique_ptr<FritzBox>(new FritzBox(script.user, script.password));
}

bool exists(const std::string& path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

std::string fileContent(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::size_t requestsFor(LoopbackRouter& router, const std::string& pathStart) {
    std::size_t count = 0;
    for (const HttpRequest& request : router.requests()) {
        count += request.target.rfind(pathStart, 0) == 0 ? 1 : 0;
    }
    return count;
}

void callList(Context& context) {
    const RouterScript script = fritzBox();
    LoopbackRouter router(context, script);
    auto box = moduleFor(context, script);
    std::string token;
    expectTrue(box->sync(CallLogs, token), "sync(0) true: logged in with the widened digest, list fetched", "false");
    expectEqual("the change token (the MD5 of the list)", md5Hex(kCallList), token);
    expectEqual("the call-log document (its lists are empty by design)", kEmptyCallLogs, box->getData(CallLogs));
    const auto events = router.events();
    for (const RouterEvent& event : events) {
        expectTrue(event.connection == 0, "the login and the list over one kept connection",
                   "connection " + std::to_string(event.connection));
    }
}

// sync(5) true, the token the MD5 of the export alone, the document made of `contacts`.
void expectDirectory(FritzBox& box, const RouterScript& script, const std::vector<Contact>& contacts) {
    std::string token;
    expectTrue(box.sync(Personal, token),
               "sync(5) true for a " + std::to_string(script.exportXml.size()) + "-byte export", "false");
    expectEqual("the change token (the MD5 of the export)", md5Hex(script.exportXml), token);
    expectEqual("the directory document", personalDocument(entriesOf(contacts)), box.getData(Personal));
}

void directory(Context& context) {
    const std::vector<Contact> contacts = manyContacts(1000);
    const RouterScript script = fritzBox(contacts);
    LoopbackRouter router(context, script);
    expectDirectory(*moduleFor(context, script), script, contacts);
}

void largeChunkedExport(Context& context) {
    const std::vector<Contact> contacts = manyContacts(3000, std::string(120, '.'));
    RouterScript script = fritzBox(contacts);
    script.exportChunks = {100000, 7, 262144, 33333};
    LoopbackRouter router(context, script);
    expectDirectory(*moduleFor(context, script), script, contacts);
}

void unchangedSecondSync(Context& context) {
    const RouterScript script = fritzBox();
    LoopbackRouter router(context, script);
    auto box = moduleFor(context, script);
    std::string token;
    box->sync(Personal, token);
    const std::string first = token;
    expectTrue(!box->sync(Personal, token), "the second sync(5) of an unchanged export false", "true");
    expectEqual("the token after it", first, token);
    expectEqual("the directory after it", personalDocument({}), box->getData(Personal));
}

void pictures(Context& context) {
    if (context.settings.model.empty()) {
        skip("--model names the phone model the platform answers for");
    }
    const bool picturesShown = context.settings.model != "other";
    const std::vector<Contact> contacts = {{"Anna", "030111", "file:///var/media/ftp/FRITZ/fonpix/anna.jpg"},
                                           {"Bob", "030222", "file:///var/media/ftp/FRITZ/fonpix/bob%20b.jpg"},
                                           {"Carl", "030333"}};
    RouterScript script = fritzBox(contacts);
    // The router decodes the query, so the "%20" the export names (and the module sends as it
    // is) reaches it as a blank; a platform that encodes the path again sends "%2520", which the
    // router reads as "%20" and finds no photo for.
    script.photos = {{"/var/media/ftp/FRITZ/fonpix/anna.jpg", "anna-jpeg"},
                     {"/var/media/ftp/FRITZ/fonpix/bob b.jpg", "bob-jpeg"}};
    LoopbackRouter router(context, script);
    auto box = moduleFor(context, script);
    std::string token;
    expectTrue(box->sync(Personal, token), "sync(5) true", "false");
    const std::string shown = picturesShown ? "@@@" + kPictures : "";
    expectEqual("the directory for model " + context.settings.model,
                personalDocument({{"Anna" + (picturesShown ? shown + "anna.jpg" : ""), "030111"},
                                  {"Bob" + (picturesShown ? shown + "bob%20b.jpg" : ""), "030222"},
                                  {"Carl", "030333"}}),
                box->getData(Personal));
    expectEqual("photo requests", picturesShown ? 2 : 0,
                static_cast<long long>(requestsFor(router, "/lua/photo.lua?photo=/var/media/ftp/FRITZ/fonpix/")));
    if (picturesShown) {
        expectEqual("the stored picture of Anna", "anna-jpeg", fileContent(kPictures + "anna.jpg"));
        expectEqual("the stored picture of Bob", "bob-jpeg", fileContent(kPictures + "bob%20b.jpg"));
    }
}

void pictureDirectoryLifetime(Context& context) {
    const RouterScript script = fritzBox();
    auto box = moduleFor(context, script);
    expectTrue(exists(kPictures), kPictures + " made by the module object", "no directory");
    std::ofstream(kPictures + "left behind.jpg") << "jpeg";
    expectTrue(exists(kPictures + "left behind.jpg"), "a picture stored in it", "it cannot be written");
    box.reset();
    expectTrue(!exists(kPictures), kPictures + " deleted with its pictures by the module object", "it is still there");
}

// A module object's first sync(0) against `script` must give `result`.
void expectCallListSync(const Context& context, const RouterScript& script, bool result, const std::string& when) {
    LoopbackRouter router(context, script);
    auto box = moduleFor(context, script);
    std::string token;
    expectTrue(box->sync(CallLogs, token) == result, std::string("sync(0) ") + (result ? "true" : "false") + " " + when,
               result ? "false" : "true");
}

void statuses(Context& context) {
    const std::pair<int, bool> rows[] = {{200, true}, {201, true},  {204, true},  {304, true},
                                         {404, true}, {303, false}, {400, false}, {500, false}};
    for (const auto& [status, usable] : rows) {
        RouterScript script = fritzBox();
        script.callListStatus = status;
        expectCallListSync(context, script, usable, "for a call list answered with " + std::to_string(status));
    }
}

void redirects(Context& context) {
    for (const auto& [hops, followed] : {std::pair<int, bool>{4, true}, std::pair<int, bool>{5, false}}) {
        RouterScript script = fritzBox();
        script.callListRedirects = hops;
        expectCallListSync(context, script, followed, "after " + std::to_string(hops) + " redirects of the list");
    }
}

// The export is redirected to another host: it must reach that host, the answer must replace the
// redirect's body, and the next request must be back at the router.
void redirectToOtherHost(Context& context) {
    const std::vector<Contact> contacts = manyContacts(3);
    RouterScript script = fritzBox(contacts);
    script.exportRedirectHost = kOtherHost;
    LoopbackRouter router(context, script);
    auto box = moduleFor(context, script);
    expectDirectory(*box, script, contacts);
    std::string token;
    box->sync(CallLogs, token);
    std::vector<std::string> route;
    for (const RouterEvent& event : router.events()) {
        if (event.kind == RouterEvent::Request && event.request.target.find("foncalls") == std::string::npos) {
            route.push_back(event.host + " " + event.request.method);
        } else if (event.kind == RouterEvent::Request) {
            route.push_back(event.host + " call list");
        }
    }
    const std::vector<std::string> expected = {"fritz.box GET", "fritz.box GET", "fritz.box POST", "other.test POST",
                                               "fritz.box call list"};
    std::string came, wanted;
    for (const std::string& hop : route) {
        came += (came.empty() ? "" : ", ") + hop;
    }
    for (const std::string& hop : expected) {
        wanted += (wanted.empty() ? "" : ", ") + hop;
    }
    expectEqual("where the requests went", wanted, came);
}

void refusedLogin(Context& context) {
    RouterScript script = fritzBox();
    script.refuseLogin = true;
    LoopbackRouter router(context, script);
    auto box = moduleFor(context, script);
    std::string token;
    expectTrue(!box->sync(CallLogs, token), "sync(0) false when the router refuses the login", "true");
    expectEqual("call-list requests", 0, static_cast<long long>(requestsFor(router, "/fon_num/")));
    expectEqual("the token", "", token);
}

void unreachableRouter(Context& context) {
    const RefusingHost nobody(context, kRouterHost);
    const RouterScript script = fritzBox();
    auto box = moduleFor(context, script);
    std::string token;
    for (const auto filter : {CallLogs, Personal}) {
        expectTrue(!box->sync(filter, token), "sync false while nothing listens at fritz.box:80", "true");
    }
}

// The router drops the kept connection after the call list; the export's POST must go out on a
// new one (the module does not send a POST twice).
void idleConnectionClosed(Context& context) {
    RouterScript script = fritzBox();
    script.hangUpAfterCallList = true;
    LoopbackRouter router(context, script);
    auto box = moduleFor(context, script);
    std::string callToken, directoryToken;
    expectTrue(box->sync(CallLogs, callToken), "sync(0) true", "false");
    if (!router.waitFor(RouterEvent::RouterEnd, 0, 5 * context.settings.slow)) {
        fail("the kit's router dropping the idle connection", "it did not");
    }
    expectTrue(box->sync(Personal, directoryToken), "sync(5) true after the router dropped the idle connection",
               "false");
}

template <typename Item>
void expectSameItem(const Item& sent, const Item& back, const std::string& family) {
    expectEqual(family + " surname", sent.getSurname(), back.getSurname());
    expectEqual(family + " entry id", sent.getEntryId(), back.getEntryId());
    expectEqual(family + " unique id", sent.getEntryId(), back.getUniqueId());
}

// Call items to records and back through the platform's Serializer, with names that hold the
// bytes a field codec finds hard.
void codecRoundTrip(Context&) {
    for (const std::string& surname : {std::string("O'Brien; \"x\"\r\n:3"), std::string("a\0b", 3), std::string("")}) {
        MissedCallItem missed;
        MissedCallItem::MissedCallInfo info;
        info.remoteNumber = "030123456";
        info.callTime = "2024-03-15T14:30:00+00:00";
        missed.setMissedCallInfoList({info});
        missed.setSurname(surname);
        missed.setEntryId("17");
        missed.setViewed(true);
        std::deque<MissedCallItem> items{missed};
        std::vector<std::string> records;
        BroadsoftServiceHelper::convertMissedCallsToStringData(items, records);
        std::deque<MissedCallItem> back;
        BroadsoftServiceHelper::convertStringDataToMissedCalls(records, back);
        expectEqual("items read back", 1, static_cast<long long>(back.size()));
        expectSameItem(missed, back.front(), "missed");
        expectTrue(back.front().getViewed(), "viewed true read back", "false");
        const auto& infos = back.front().getMissedCallInfoList();
        expectTrue(infos.size() == 1 && infos.front().remoteNumber == info.remoteNumber &&
                       infos.front().callTime == info.callTime,
                   "the call's number and time read back", std::to_string(infos.size()) + " call infos");
    }
}

void logLines(Context& context) {
    if (!context.log.available()) {
        skip("a log source: an adapter that captures the log, or --log-from stderr|FILE");
    }
    requirePictureDirectory(context);
    context.adapter.setLogLevel(6);
    const RouterScript script = fritzBox();
    LoopbackRouter router(context, script);
    context.log.begin();
    {
        FritzBox box(script.user, script.password);
        std::string token;
        box.sync(static_cast<Broadsoft::Filters::FilterTypes>(3), token);
    }
    const std::string log = context.log.text();
    expectTrue(log.find("sync() cannot sync. isValidSid()[true] dirId[3]") != std::string::npos,
               "the level-2 line \"sync() cannot sync. isValidSid()[true] dirId[3]\"", quoted(log, 300));
    const bool tracing = loggingOnAppQel("Broadsoft Service", 6);
    const bool traced =
        log.find("connectionHandler() connecting to fritz.box:80, path='/login_sid.lua'") != std::string::npos;
    expectTrue(traced == tracing,
               std::string("the level-6 line \"connectionHandler() connecting to fritz.box:80, ...\" ") +
                   (tracing ? "written" : "not written (level 6 is off)"),
               quoted(log, 300));
}

}  // namespace

std::vector<Check> endToEndChecks() {
    return {
        {"e2e.call-list", callList, 30},
        {"e2e.directory", directory, 30},
        {"e2e.directory.large-chunked", largeChunkedExport, 30},
        {"e2e.unchanged-second-sync", unchangedSecondSync, 30},
        {"e2e.pictures", pictures, 30},
        {"e2e.picture-directory.lifetime", pictureDirectoryLifetime, 30},
        {"e2e.statuses", statuses, 60},
        {"e2e.redirects", redirects, 30},
        {"e2e.redirect.other-host", redirectToOtherHost, 30},
        {"e2e.login.refused", refusedLogin, 30},
        {"e2e.unreachable-router", unreachableRouter, 30},
        {"e2e.idle-connection-closed", idleConnectionClosed, 30},
        {"e2e.codec.round-trip", codecRoundTrip, 10},
        {"e2e.log-lines", logLines, 30},
    };
}

}  // namespace conformance
