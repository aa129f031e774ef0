#include "bench/operations.h"

#include "hooks/CustomHooks.h"
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

/// An identifier of the usual length; valid until the next call.
char const* identifier(int number)
{
    static char text[] = "{4F9C27D1-63AB-4E0B-9A77-000000000000}";
    for (size_t digit = sizeof text - 3; digit > sizeof text - 9; --digit, number /= 10) {
        text[digit] = static_cast<char>('0' + number % 10);
    }
    return text;
}

/// A table of two columns, number and identifier, from `begin` up to but not including `end`.
std::string identifiers(int begin, int end)
{
    return "(WITH RECURSIVE numbers(n) AS (SELECT " + std::to_string(begin) +
           " UNION ALL SELECT n + 1 FROM numbers WHERE n + 1 < " + std::to_string(end) +
           ") SELECT n, printf('{4F9C27D1-63AB-4E0B-9A77-%012d}', n) AS id FROM numbers)";
}

char volatile firstOfMessage;

/// The installer's log callback: reads the message, so that the compiler cannot remove the call.
void takeMessage(char const* message)
{
    firstOfMessage = *message;
}

// Results of the operations, never used.
PdbPayloadInfo payload;
char const** texts;
char const* text;

/// One call of an operation, which may use its session and its number.
#define CALL(call) [](VeskSession* session, int number) { return (void)session, (void)number, int32_t(call); }

template<int32_t (*openSession)(VeskSession**), int32_t (*closeSession)(VeskSession*)>
int32_t openAndClose()
{
    VeskSession* opened = nullptr;
    int32_t const status = openSession(&opened);
    return status == kVeskOK ? closeSession(opened) : status;
}

uint32_t runHook(HookEntryMode phase)
{
    return QvInstallerCustomHookProc(nullptr, phase, kHookInstall, 0, takeMessage);
}

// clang-format off
Operation readOne(int payloads)
{
    return {"read a payload", payloads, 100, 1, pdbOpenSession,
            CALL(pdbGetPayload(session, identifier(number % 100), &payload))};
}

Operation listAll(int payloads)
{
    return {"list the payloads, per row of " + std::to_string(payloads), payloads,
            payloads > 10000 ? 2 : 20000 / payloads, payloads, pdbOpenSession,
            CALL(pdbGetPayloads(session, kPdbAllPayloads, &texts))};
}

/// Payloads with one relation each, others each time.
Operation markInstalled(int payloads)
{
    return {"mark installed", payloads, payloads > 10000 ? 5 : 50, 1, pdbOpenSession,
            CALL(pdbSetInstallState(session, identifier(number + 1), kPdbInstalled))};
}

Operation removeOne(int payloads)
{
    return {"remove a payload", payloads, 50, 1, pdbOpenSession,
            CALL(pdbRemovePayload(session, identifier(number + 1)))};
}

} // namespace

std::vector<Operation> const& operations()
{
    static std::vector<Operation> const table = {
        {"open and close the catalogue", 100, 100, 1, nullptr,
         CALL((openAndClose<veskOpenSession, veskCloseSession>()))},
        {"open and close the payload database", 100, 100, 1, nullptr,
         CALL((openAndClose<pdbOpenSession, pdbCloseSession>())), true},
        {"open and close the master store", 100, 100, 1, nullptr,
         CALL((openAndClose<pcdOpenSession, pcdCloseSession>()))},
        {"open and close the cache store", 100, 100, 1, nullptr,
         CALL((openAndClose<pcdOpenCacheSession, pcdCloseSession>()))},
        {"add a payload", 100, 200, 1, pdbOpenSession,
         CALL(pdbAddPayload(session, identifier(absent + number), family, name, version, signature, nullptr, nullptr))},
        readOne(100),
        {"mark installed, 100 relations", 100, 20, 1, pdbOpenSession,
         CALL(pdbSetInstallState(session, identifier(0), kPdbInstalled))},
        removeOne(100),
        {"set payload data", 100, 200, 1, pdbOpenSession,
         CALL(pdbSetPayloadData(session, identifier(number % 100), 0, key, value))},
        {"get payload data", 100, 200, 1, pdbOpenSession,
         CALL(pdbGetPayloadData(session, identifier(number % 100), 0, key, &text))},
        {"set a setting", 100, 200, 1, pcdOpenSession,
         CALL(pcdSetDomainData(session, 1, subdomain, key, value))},
        {"get a setting", 100, 200, 1, pcdOpenSession,
         CALL(pcdGetDomainData(session, 1, subdomain, key, &text))},
        {"list 10 keys of settings", 100, 200, 1, pcdOpenSession,
         CALL(pcdGetDomainDataKeys(session, 1, subdomain, &texts))},
        {"commit nothing, payload session", 100, 200, 1, pdbOpenSession,
         CALL(pdbSessionCommit(session)), true},
        {"commit nothing, other session", 100, 20000, 1, veskOpenSession, CALL(veskSessionCommit(session))},
        {"phase that only logs", 100, 20000, 1, nullptr, CALL(runHook(kHookPrePayload))},
        {"pre-system-check, 200 payloads", 200, 10, 1, nullptr, CALL(runHook(kHookPreSystemCheck)), true},
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
    testing_support::sql(
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
    testing_support::sql(testing_support::masterFile,
                         "INSERT INTO domain_data SELECT 1, '" + std::string(subdomain) +
                             "', 'INSTALLDIR' || CASE n WHEN 0 THEN '' ELSE n END, id FROM " +
                             identifiers(0, 10));
}

Run::Run(Operation const& measured, Recording const* replayed) : operation(measured), floor(replayed)
{
    require(floor != nullptr ? replays(0) : operation.open == nullptr || operation.open(&session) == kVeskOK);
}

Run::~Run()
{
    if (session != nullptr) {
        veskSessionRollback(session);
        veskCloseSession(session);
    }
    for (auto& connection : connections) {
        closeConnection(&connection);
    }
}

void Run::call()
{
    ++number;
    require(floor != nullptr ? replays(static_cast<size_t>(number))
                             : operation.run(session, number - 1) == 0);
}

bool Run::replays(size_t call)
{
    auto const& steps = floor->calls[call];
    return replay(connections, steps.data(), steps.size()) == SQLITE_OK;
}

void Run::require(bool succeeded) const
{
    if (!succeeded) {
        std::fprintf(stderr, "bench: %s, %s: call %d failed\n", operation.name.c_str(),
                     floor != nullptr ? "floor" : "ours", number);
        std::exit(2);
    }
}

} // namespace bench
