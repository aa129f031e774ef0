/// The floor of every operation: what a plain C program pays that runs the very same statements, SQLite calls and
/// system calls on the same files, knows where they lie, and keeps one buffer per value until it closes. It copes
/// with the databases of the benchmark and no others: they are there, whole, up to date and owned as they ought.
///
/// Functions that give an int give SQLITE_OK, SQLITE_NOTFOUND where the record library reports nothing found, or
/// the code of the call that failed.
#ifndef BENCH_FLOOR_H
#define BENCH_FLOOR_H

#include "hooks/CustomHooks.h"
#include "libdolmvesk/payloaddb.h"

#ifdef __cplusplus
extern "C" {
#endif

enum FloorDatabase
{
    kFloorCatalogue,
    kFloorPayloads,
    kFloorMaster,
    kFloorCache
};

/// An open database and every buffer read from it.
struct FloorStore;

/// @return the store, the caller's until one of the two closes it; null when it cannot be opened
struct FloorStore* floorOpen(enum FloorDatabase which);
int floorClose(struct FloorStore* store);
int floorClosePayloads(struct FloorStore* store);

int floorCommit(struct FloorStore* store);
int floorCommitPayloads(struct FloorStore* store);
int floorRollback(struct FloorStore* store);

int floorAddPayload(struct FloorStore* store, char const* payload, char const* family, char const* name,
                    char const* version, char const* signature);
int floorGetPayload(struct FloorStore* store, char const* payload, struct PdbPayloadInfo* out);
int floorGetPayloads(struct FloorStore* store, char const*** out);
int floorGetInstalledPayloads(struct FloorStore* store, char const*** out);
int floorMarkInstalled(struct FloorStore* store, char const* payload);
int floorRemovePayload(struct FloorStore* store, char const* payload);
int floorSetPayloadData(struct FloorStore* store, char const* payload, int domain, char const* key,
                        char const* value);
int floorGetPayloadData(struct FloorStore* store, char const* payload, int domain, char const* key,
                        char const** value);

int floorSetDomainData(struct FloorStore* store, int domain, char const* subdomain, char const* key,
                       char const* value);
int floorGetDomainData(struct FloorStore* store, int domain, char const* subdomain, char const* key,
                       char const** value);
int floorGetDomainDataKeys(struct FloorStore* store, int domain, char const* subdomain, char const*** keys);

/// The pre-system-check of an install where no payload on record is the application.
int floorPreSystemCheck(HookLogCallback log);

#ifdef __cplusplus
}
#endif

#endif
