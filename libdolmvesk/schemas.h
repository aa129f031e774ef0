/// The schema families of the databases. Do not change even white space in their texts: existing files contain exactly
/// these.
#ifndef LIBDOLMVESK_SCHEMAS_H
#define LIBDOLMVESK_SCHEMAS_H

#include "libdolmvesk/database.h"

extern StatementList const gVeskSchemas[]; ///< the catalogue, vesk.db: versions 1 and 2
extern StatementList const gPcdSchemas[];  ///< the master store, pcd.db: versions 1 and (empty) 2
extern StatementList const gHbSchemas[];   ///< the cache store, cache.db: versions 1 and (empty) 2
extern StatementList const gPdbSchemas[];  ///< the payload database, pdb.db: version 1
extern StatementList const gMdbSchemas[];  ///< a media database: version 1; nothing opens one yet

#endif
