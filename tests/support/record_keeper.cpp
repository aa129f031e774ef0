// record_keeper ROOT NUMBER: adds one numbered record to each of the four databases below ROOT, in a transaction of
// its own, and prints all that they hold. Built for both word sizes, to show that they keep the same records.
#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/pcd_compat.h"
#include "libdolmvesk/session.h"
#include "libdolmvesk/store_session.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

void require(bool done, char const* what)
{
    if (!done) {
        std::fprintf(stderr, "record_keeper: %s failed\n", what);
        std::exit(1);
    }
}

/// Opens a session, runs the body with it and closes it, which commits.
template<class Body>
void inSession(int32_t (*open)(VeskSession**), int32_t (*close)(VeskSession*), Body body)
{
    VeskSession* session = nullptr;
    require(open(&session) == kVeskOK, "opening");
    body(session);
    require(close(session) == kVeskOK, "closing");
}

void print(char const* name, char const* const* list)
{
    std::printf("%s:", name);
    for (; *list != nullptr; ++list) {
        std::printf(" %s", *list);
    }
    std::puts("");
}

} // namespace

int main(int count, char** arguments)
{
    require(count == 3 && chroot(arguments[1]) == 0 && chdir("/") == 0, "entering the root");
    std::string const number = arguments[2];
    char const* const payload = number.c_str();
    int32_t const domain = 5;
    char const** list = nullptr;
    inSession(pdbOpenSession, pdbCloseSession, [&](VeskSession* session) {
        char const* const upgrades[] = {"0", nullptr};
        require(pdbAddPayload(session, payload, "family", "name", "12.0", "", nullptr, upgrades) == kVeskOK &&
                    pdbSetInstallState(session, payload, kPdbInstalled) == kVeskOK &&
                    pdbSetPayloadData(session, payload, domain, "key", "it's \xFF") == kVeskOK &&
                    pdbSetUserAction(session, payload, "actor") == kVeskOK,
                "adding a payload");
        require(pdbGetPayloads(session, kPdbInstalled, &list) == kVeskOK, "listing payloads");
        print("installed", list);
        for (; *list != nullptr; ++list) {
            PdbPayloadInfo info = {};
            char const* value = nullptr;
            require(pdbGetPayload(session, *list, &info) == kVeskOK &&
                        pdbGetPayloadData(session, *list, domain, "key", &value) == kVeskOK,
                    "reading a payload");
            std::printf("payload %s %s %s %s '%s' %d %d %s\n", info.payloadID, info.productFamily,
                        info.productName, info.version, info.signature, info.installState, info.installTime,
                        value);
        }
    });
    for (auto* open : {pcdOpenSession, pcdOpenCacheSession}) {
        inSession(open, pcdCloseSession, [&](VeskSession* session) {
            require(pcdSetDomainData(session, -1, "settings", payload, payload) == kVeskOK &&
                        pcdGetDomainDataKeys(session, -1, "settings", &list) == kVeskOK,
                    "a setting");
            print("settings", list);
        });
    }
    inSession(veskOpenSession, veskCloseSession, [&](VeskSession* session) {
        require(session->store->queryNR("INSERT INTO upgraded_payloads VALUES ('%q', '0')", payload) ==
                        kVeskOK &&
                    session->store->queryList(&list, "SELECT payloadIDOriginal FROM upgraded_payloads") ==
                        kVeskOK,
                "a catalogue row");
        print("catalogue", list);
    });
}
