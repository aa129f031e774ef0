/// Every status of the record library: 32 bits, signed, 0 for success. Compiles as C and as C++.
#ifndef LIBDOLMVESK_VESK_STATUS_H
#define LIBDOLMVESK_VESK_STATUS_H

enum VeskStatus
{
    kVeskOK = 0,       ///< on success
    kVeskFailed = 1,   ///< when a path could not be formed, a handle allocated, or a schema step run
    kVeskNoMemory = 3, ///< when an allocation failed
    kVeskIOError = 4,  ///< when a file could not be read, written or copied, or is not an intact database
    kVeskNeedsRestore =
        5, ///< when the catalogue is missing but its backup exists, or a schema version has no statement list
    kVeskConstraint = 6,       ///< when a key or a trigger refused a row
    kVeskNotFound = 8,         ///< when there is no such row or file, or a list would be empty
    kVeskNoDataStore = 9,      ///< when a handle has no data store
    kVeskInvalidArgument = 10, ///< when a required argument is null or out of range
    kVeskAccessDenied = 11,    ///< when the system or the file's mode does not allow it
    kVeskError = 12,           ///< when SQLite reports an error that no other status covers
    kVeskSchemaTooNew = 13,    ///< when the file requires a newer version of this library
    kVeskBusy = 14,            ///< when another connection held its lock longer than the busy time-out
    kVeskConflict = 16         ///< when a payload in conflict with the one to install is on record
};

#endif
