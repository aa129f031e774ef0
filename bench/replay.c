#include "bench/replay.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

enum
{
    kCopyBufferSize = 16384
};

static int keepText(struct Connection* connection, char const* text)
{
    if (text == NULL) {
        return SQLITE_OK;
    }
    size_t const count = connection->count;
    if ((count & (count - 1)) == 0) { // 0 or a power of 2: the array is full
        char** const larger = realloc(connection->texts, (2 * count + 1) * sizeof *larger);
        if (larger == NULL) {
            return SQLITE_NOMEM;
        }
        connection->texts = larger;
    }
    char* const copy = strdup(text);
    connection->texts[connection->count++] = copy;
    return copy != NULL ? SQLITE_OK : SQLITE_NOMEM;
}

static int readRows(struct Connection* connection, char const* text)
{
    sqlite3_stmt* statement = NULL;
    int code = sqlite3_prepare(connection->database, text, (int)strlen(text), &statement, NULL);
    while (code == SQLITE_OK && sqlite3_step(statement) == SQLITE_ROW) {
        int const columns = sqlite3_column_count(statement);
        for (int column = 0; column < columns && code == SQLITE_OK; ++column) {
            code = keepText(connection, (char const*)sqlite3_column_text(statement, column));
        }
    }
    int const finalized = sqlite3_finalize(statement);
    return code != SQLITE_OK ? code : finalized;
}

static int runStatement(struct Connection* connection, struct Step const* step)
{
    char const* const* const quoted = step->arguments;
    char* const text = sqlite3_mprintf(step->text, quoted[0], quoted[1], quoted[2], quoted[3], quoted[4],
                                       quoted[5], quoted[6], quoted[7]);
    int const code = text == NULL ? SQLITE_NOMEM : readRows(connection, text);
    sqlite3_free(text);
    return code;
}

/// Reads through SQLite's file system layer: closing a descriptor of one's own would drop the locks that connections
/// of this process have on the file.
static int copyDatabase(char const* from, char const* to)
{
    char buffer[kCopyBufferSize];
    struct stat status;
    sqlite3_vfs* const vfs = sqlite3_vfs_find(NULL);
    sqlite3_file* const source = calloc(1, (size_t)vfs->szOsFile);
    if (source == NULL || stat(from, &status) != 0) {
        free(source);
        return SQLITE_NOMEM;
    }
    int code = vfs->xOpen(vfs, from, source, SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB, NULL);
    int const target = open(to, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (off_t offset = 0; code == SQLITE_OK && offset < status.st_size; offset += kCopyBufferSize) {
        off_t const rest = status.st_size - offset;
        int const count = (int)(rest < kCopyBufferSize ? rest : kCopyBufferSize);
        code = source->pMethods->xRead(source, buffer, count, offset);
        if (code == SQLITE_OK && write(target, buffer, (size_t)count) != count) {
            code = SQLITE_IOERR;
        }
    }
    if (source->pMethods != NULL) {
        source->pMethods->xClose(source);
    }
    close(target);
    free(source);
    return code;
}

int closeConnection(struct Connection* connection)
{
    int const code = sqlite3_close(connection->database);
    for (size_t index = 0; index < connection->count; ++index) {
        free(connection->texts[index]);
    }
    free(connection->texts);
    *connection = (struct Connection){NULL, NULL, 0};
    return code;
}

int replay(struct Connection* connections, struct Step const* steps, size_t count)
{
    int code = SQLITE_OK;
    for (struct Step const* step = steps; step != steps + count && code == SQLITE_OK; ++step) {
        struct Connection* const connection = &connections[step->connection];
        switch (step->kind) {
        case kStepOpen:
            code = sqlite3_open(step->text, &connection->database);
            break;
        case kStepRun:
            code = runStatement(connection, step);
            break;
        case kStepClose:
            code = closeConnection(connection);
            break;
        case kStepCopy:
            code = copyDatabase(step->text, step->arguments[0]);
            break;
        }
    }
    return code;
}
