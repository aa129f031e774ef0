#include "bench/operations.h"

#include "libdolmvesk/pcd_compat.h"
#include "tests/support/stores.h"

#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

char const subdomain[] = "{E2B9-TESSARINE-12}";
char const key[] = "INSTALLDIR";
char const value[] = "/Applications/Zelko Fendrial 12 Tessarine";
char const family[] = "Zelko Fendrial";
char const name[] = "Component";
char const version[] = "12.0.1.4";
char const signature[] = "3f0c7be2b6a14b0d9d6e";

/// Identifiers from here on are those of payloads that are not on record.
int const absent = 500000;

/// An identifier as long as those in the field; good until the next one is asked for.
char const* identifier(int number)
{
    static char text[] = "{4F9C27D1-63AB-4E0B-9A77-000000000000}";
    for (size_t digit = sizeof text - 3; digit > sizeof text - 9; --digit, number /= 10) {
        text[digit] = static_cast<char>('0' + number % 10);
    }
    return text;
}

/// Identifiers of 0 to `end` as a table of two columns, the number first; `end` is left out.
std::string identifiers(int begin, int end)
{
    return "(WITH RECURSIVE numbers(n) AS (SELECT " + std::to_string(begin) +
           " UNION ALL SELECT n + 1 FROM numbers WHERE n + 1 < " + std::to_string(end) +
           ") SELECT n, printf('{4F9C27D1-63AB-4E0B-9A77-%012d}', n) AS id FROM numbers)";
}

void fill(std::string const& file, std::string const& statements)
{
    for (auto const& error : testing_support::sql(file, statements)) {
        std::fprintf(stderr, "bench: filling %s: %s\n", file.c_str(), error.c_str());
        std::exit(2);
    }
}

char volatile firstOfMessage;

/// The installer's log: looks at the message, so that no call of it can be left out.
void takeMessage(char const* message)
{
    firstOfMessage = *message;
}

// What the operations read, which nobody looks at.
PdbPayloadInfo payload;
char const** texts;
char const* text;

// The two sides of an operation in the table below: a call of the session, or of the floor's store, with the number of
// the call.
#define OURS(call) [](VeskSession* session, int number) { return (void)session, (void)number, int32_t(call); }
#define FLOOR(call) [](FloorStore* store, int number) { return (void)store, (void)number, int(call); }

template<int32_t (*openSession)(VeskSession**), int32_t (*closeSession)(VeskSession*)>
int32_t openAndClose()
{
    VeskSession* opened = nullptr;
    int32_t const status = openSession(&opened);
    return status == kVeskOK ? closeSession(opened) : status;
}

int openAndCloseFloor(FloorDatabase database, int (*closeStore)(FloorStore*))
{
    FloorStore* const opened = floorOpen(database);
    return opened != nullptr ? closeStore(opened) : 1;
}

uint32_t runHook(HookEntryMode phase)
{
    return QvInstallerCustomHookProc(nullptr, phase, kHookInstall, 0, takeMessage);
}

// clang-format off
Operation readOne(int payloads)
{
    return {"read a payload", payloads, 100, 1, pdbOpenSession, kFloorPayloads,
            OURS(pdbGetPayload(session, identifier(number % 100), &payload)),
            FLOOR(floorGetPayload(store, identifier(number % 100), &payload))};
}

Operation listAll(int payloads)
{
    return {"list the payloads, per row of " + std::to_string(payloads), payloads,
            payloads > 10000 ? 2 : 20000 / payloads, payloads, pdbOpenSession, kFloorPayloads,
            OURS(pdbGetPayloads(session, kPdbAllPayloads, &texts)),
            FLOOR(floorGetPayloads(store, &texts))};
}

/// Payloads with one relation each, others each time.
Operation markInstalled(int payloads)
{
    return {"mark installed", payloads, payloads > 10000 ? 5 : 50, 1, pdbOpenSession, kFloorPayloads,
            OURS(pdbSetInstallState(session, identifier(number + 1), kPdbInstalled)),
            FLOOR(floorMarkInstalled(store, identifier(number + 1)))};
}

Operation removeOne(int payloads)
{
    return {"remove a payload", payloads, 50, 1, pdbOpenSession, kFloorPayloads,
            OURS(pdbRemovePayload(session, identifier(number + 1))),
            FLOOR(floorRemovePayload(store, identifier(number + 1)))};
}

} // namespace

std::vector<Operation> const& operations()
{
    static std::vector<Operation> const table = {
        {"open and close the catalogue", 100, 100, 1, nullptr, kFloorCatalogue,
         OURS((openAndClose<veskOpenSession, veskCloseSession>())),
         FLOOR(openAndCloseFloor(kFloorCatalogue, floorClose))},
        {"open and close the payload database", 100, 100, 1, nullptr, kFloorPayloads,
         OURS((openAndClose<pdbOpenSession, pdbCloseSession>())),
         FLOOR(openAndCloseFloor(kFloorPayloads, floorClosePayloads))},
        {"open and close the master store", 100, 100, 1, nullptr, kFloorMaster,
         OURS((openAndClose<pcdOpenSession, pcdCloseSession>())),
         FLOOR(openAndCloseFloor(kFloorMaster, floorClose))},
        {"open and close the cache store", 100, 100, 1, nullptr, kFloorCache,
         OURS((openAndClose<pcdOpenCacheSession, pcdCloseSession>())),
         FLOOR(openAndCloseFloor(kFloorCache, floorClose))},
        {"add a payload", 100, 200, 1, pdbOpenSession, kFloorPayloads,
         OURS(pdbAddPayload(session, identifier(absent + number), family, name, version, signature, nullptr, nullptr)),
         FLOOR(floorAddPayload(store, identifier(absent + number), family, name, version, signature))},
        readOne(100),
        {"mark installed, 100 relations", 100, 20, 1, pdbOpenSession, kFloorPayloads,
         OURS(pdbSetInstallState(session, identifier(0), kPdbInstalled)),
         FLOOR(floorMarkInstalled(store, identifier(0)))},
        removeOne(100),
        {"set payload data", 100, 200, 1, pdbOpenSession, kFloorPayloads,
         OURS(pdbSetPayloadData(session, identifier(number % 100), 0, key, value)),
         FLOOR(floorSetPayloadData(store, identifier(number % 100), 0, key, value))},
        {"get payload data", 100, 200, 1, pdbOpenSession, kFloorPayloads,
         OURS(pdbGetPayloadData(session, identifier(number % 100), 0, key, &text)),
         FLOOR(floorGetPayloadData(store, identifier(number % 100), 0, key, &text))},
        {"set a setting", 100, 200, 1, pcdOpenSession, kFloorMaster,
         OURS(pcdSetDomainData(session, 1, subdomain, key, value)),
         FLOOR(floorSetDomainData(store, 1, subdomain, key, value))},
        {"get a setting", 100, 200, 1, pcdOpenSession, kFloorMaster,
         OURS(pcdGetDomainData(session, 1, subdomain, key, &text)),
         FLOOR(floorGetDomainData(store, 1, subdomain, key, &text))},
        {"list 10 keys of settings", 100, 200, 1, pcdOpenSession, kFloorMaster,
         OURS(pcdGetDomainDataKeys(session, 1, subdomain, &texts)),
         FLOOR(floorGetDomainDataKeys(store, 1, subdomain, &texts))},
        {"commit nothing, payload session", 100, 200, 1, pdbOpenSession, kFloorPayloads,
         OURS(pdbSessionCommit(session)),
         FLOOR(floorCommitPayloads(store))},
        {"commit nothing, other session", 100, 20000, 1, veskOpenSession, kFloorCatalogue,
         OURS(veskSessionCommit(session)),
         FLOOR(floorCommit(store))},
        {"phase that only logs", 100, 20000, 1, nullptr, kFloorCatalogue,
         OURS(runHook(kHookPrePayload)),
         FLOOR((takeMessage("::FT::In PrePayloadInstallProc"), 0))},
        {"pre-system-check, 200 payloads", 200, 10, 1, nullptr, kFloorPayloads,
         OURS(runHook(kHookPreSystemCheck)),
         FLOOR(floorPreSystemCheck(takeMessage))},
        listAll(1000),
        listAll(10000),
    };
    return table;
}
// clang-format on

std::vector<Operation> growthOperations(int payloads)
{
    return {readOne(payloads), listAll(payloads), markInstalled(payloads), removeOne(payloads)};
}

Operation const& largestList()
{
    static Operation const largest = listAll(growthSteps[std::size(growthSteps) - 1]);
    return largest;
}

void prepareStores(int payloads)
{
    for (auto* open : {veskOpenSession, pcdOpenSession, pdbOpenSession}) {
        testing_support::opened(open);
    }
    std::string const first = "SELECT '" + std::string(identifier(0)) + "', id, ";
    fill(
        testing_support::payloadFile,
        "BEGIN; INSERT INTO payloads SELECT id, 'Zelko Fendrial', 'Component', '12.0.1.4', '3f0c7be2b6a14b0d',"
        " 2, 1700000000 + n FROM " +
            identifiers(0, payloads) +
            "; INSERT INTO dependencies SELECT PayloadID, id, 0 FROM payloads JOIN " +
            identifiers(absent, absent + payloads) + " ON payloads.rowid = n - 499999" +
            "; INSERT INTO dependencies " + first + "0 FROM " + identifiers(2 * absent - 49, 2 * absent) +
            "; INSERT INTO dependencies " + first + "1 FROM " + identifiers(1, 51) +
            "; INSERT INTO payload_data SELECT id, 0, 'INSTALLDIR', '/Applications' FROM " +
            identifiers(0, payloads) + "; COMMIT");
    fill(testing_support::masterFile, "INSERT INTO domain_data SELECT 1, '" + std::string(subdomain) +
                                          "', 'INSTALLDIR' || CASE n WHEN 0 THEN '' ELSE n END, id FROM " +
                                          identifiers(0, 10));
}

Run::Run(Operation const& measured, Side measuredSide) : operation(measured), side(measuredSide)
{
    if (operation.open != nullptr && side == Side::kOurs) {
        int32_t const status = operation.open(&session);
        if (status != kVeskOK) {
            fail("opening", status);
        }
    } else if (operation.open != nullptr) {
        store = floorOpen(operation.database);
        if (store == nullptr) {
            fail("opening", 1);
        }
    }
    call();
}

Run::~Run()
{
    if (session != nullptr) {
        veskSessionRollback(session);
        veskCloseSession(session);
    }
    if (store != nullptr) {
        floorRollback(store);
        floorClose(store);
    }
}

void Run::call()
{
    int32_t const status =
        side == Side::kOurs ? operation.ours(session, number) : operation.floor(store, number);
    ++number;
    if (status != 0) {
        fail("a call", status);
    }
}

void Run::fail(char const* what, int status) const
{
    std::fprintf(stderr, "bench: %s, %s: %s gave %d\n", operation.name.c_str(),
                 side == Side::kOurs ? "ours" : "floor", what, status);
    std::exit(2);
}

} // namespace bench
