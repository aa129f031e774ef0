Backups, copies and repairs, and what is said about files that are not as they should be.

  $ . "$TESTDIR/machine.sh"
  $ later() { shown "$@" | sed -E 's/\.20[0-9]{6}T[0-9]{6}Z/.DATE/g; s/202[4-9]-[0-9T:-]*Z/DATE/'; }
  $ veskdb() { later "$VESKDB" --root "$root" "$@"; }
  $ below() { (cd root && find . -path "$1" -printf '%p %m %U:%G %s\n' | later sort); }

Before there is any record.

  $ veskdb backup
  veskdb: there is no database to back up: nothing has been recorded yet
  [1]
  $ veskdb backup pdb
  veskdb: the payload database, '/Library/Application Support/Zelko/vesk/pdb.db': kVeskNotFound (8), it does not exist
  [1]
  $ "$VESKDB" list pdb
  veskdb: the payload database, '/Library/Application Support/Zelko/vesk/pdb.db': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb list pdb
  veskdb: the payload database, '/Library/Application Support/Zelko/vesk/pdb.db': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb recover pdb
  veskdb: the payload database, '/Library/Application Support/Zelko/vesk/pdb.db': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb find x
  [1]
  $ veskdb info | grep -e cache -e 'pdb|b'
  pdb|backup|/Library/Application Support/Zelko/backup/pdb.db
  pdb|backup made|\N
  cache|path|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db
  cache|present|false
  cache|size|\N
  cache|owner|\N
  cache|mode|\N
  cache|modified|\N
  cache|schema version|\N
  cache|usable from version|\N
  cache|rows|\N
  cache|unreadable|\N
  cache|backup|\N
  cache|backup made|\N
  $ veskdb verify
  note|pdb|/Library/Application Support/Zelko/vesk/pdb.db|nothing has been recorded yet|
  note|pcd|/Library/Application Support/Zelko/Zelko PCD/pcd.db|nothing has been recorded yet|
  note|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|nothing has been recorded yet|
  note|vesk|/Library/Application Support/Zelko/vesk/vesk.db|nothing has been recorded yet|
  $ veskdb remove pdb APP --yes
  veskdb: the payload database, '/Library/Application Support/Zelko/vesk/pdb.db': kVeskNotFound (8), it does not exist
  [1]

Backups and copies.

  $ make_machine
  $ veskdb backup
  veskdb: '/Library/Application Support/Zelko/backup/pdb.db' is in place; the file before is kept as '/Library/Application Support/Zelko/backup/pdb.db.DATE'
  veskdb: '/Library/Application Support/Zelko/backup/vesk.db' is in place; the file before is kept as '/Library/Application Support/Zelko/backup/vesk.db.DATE'
  $ veskdb backup pcd --to /copy.db
  veskdb: '/copy.db' is in place
  $ chmod 600 root/copy.db
  $ veskdb backup pcd --to /copy.db
  veskdb: '/copy.db' is in place; the file before is kept as '/copy.db.DATE'
  $ : >root/empty; veskdb backup cache --to /empty
  veskdb: '/empty' is in place
  $ printf t >root/text; veskdb backup pcd --to /text
  veskdb: --to '/text' is neither empty nor a copy of the master store; give the path of a new file
  [2]
  $ ln -s text root/link; veskdb backup pcd --to /link
  veskdb: '/link' is a link; give the path of a new file
  [2]
  $ ln "$pcd" root/second; veskdb backup pcd --to /second; rm root/second
  veskdb: --to '/second' is the master store itself; give the path of a new file
  $ veskdb backup pcd --to /copy.db/new
  veskdb: '/copy.db': no file can be created there: Not a directory
  [2]
  $ veskdb backup pcd --to /none/new
  veskdb: '/none': no file can be created there: No such file or directory
  [2]
  $ veskdb backup vesk --to /Library
  veskdb: '/Library' is not a file; give the path of a new file
  [2]
  $ below './copy*'; below './empty*'; below '*/backup/*'
  ./copy.db 600 0:0 77824
  ./copy.db.DATE 600 0:0 77824
  ./empty 644 0:0 20480
  ./Library/Application Support/Zelko/backup/pdb.db 644 0:0 53248
  ./Library/Application Support/Zelko/backup/pdb.db.DATE 644 0:0 53248
  ./Library/Application Support/Zelko/backup/vesk.db 644 0:0 77824
  ./Library/Application Support/Zelko/backup/vesk.db.DATE 644 0:0 77824
  $ rm "$zelko"/backup/*.20*

Restoring.

  $ veskdb remove pdb APP --yes
  veskdb: Remove payload 'APP' and, with it, what it has upgraded: 'OLD'? Yes
  $ veskdb restore pdb --yes
  veskdb: Replace the payload database, '/Library/Application Support/Zelko/vesk/pdb.db', by '/Library/Application Support/Zelko/backup/pdb.db' of DATE? Yes
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' is in place; the file before is kept as '/Library/Application Support/Zelko/vesk/pdb.db.DATE'
  $ veskdb show pdb APP | head -1
  payloads|PayloadID|APP
  $ rm "$pdb"
  $ veskdb list pdb
  veskdb: the payload database, '/Library/Application Support/Zelko/vesk/pdb.db': kVeskNotFound (8), it does not exist, but its backup does; to restore it: veskdb --root 'ROOT' restore pdb
  [1]
  $ veskdb set pdb APP --state installed
  veskdb: the payload database, '/Library/Application Support/Zelko/vesk/pdb.db': kVeskNeedsRestore (5), the database is gone and its backup is there; run: veskdb --root 'ROOT' restore pdb
  [2]
  $ veskdb verify pdb
  fault|pdb|/Library/Application Support/Zelko/vesk/pdb.db|kVeskNeedsRestore (5), the database is gone and its backup is there|veskdb --root 'ROOT' restore pdb
  note|pdb|/Library/Application Support/Zelko/backup/pdb.db|2 relations to payloads that are not on record|
  ok|pdb|/Library/Application Support/Zelko/backup/pdb.db|sound|
  [1]
  $ veskdb restore pdb --yes
  veskdb: Bring back the payload database, '/Library/Application Support/Zelko/vesk/pdb.db', from '/Library/Application Support/Zelko/backup/pdb.db' of DATE? Yes
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' is in place
  $ veskdb restore cache --from /empty --yes
  veskdb: Replace the cache store, '/Library/Application Support/Zelko/Zelko PCD/cache/cache.db', by '/empty' of DATE? Yes
  veskdb: '/Library/Application Support/Zelko/Zelko PCD/cache/cache.db' is in place; the file before is kept as '/Library/Application Support/Zelko/Zelko PCD/cache/cache.db.DATE'
  $ veskdb restore cache --from /copy.db --yes
  veskdb: the copy '/copy.db' is not usable; nothing was replaced: it is the master store, not the cache store
  [1]
  $ veskdb restore cache --from "${cache#$root}" --yes
  veskdb: --from '/Library/Application Support/Zelko/Zelko PCD/cache/cache.db' is the database itself; give a copy of it
  [2]
  $ ln -s "${cache#$root}" root/alias; veskdb restore cache --from /alias --yes; rm root/alias
  veskdb: --from '/alias' is the database itself; give a copy of it
  $ below '*/vesk/*'; below '*/cache/*'
  ./Library/Application Support/Zelko/vesk/pdb.db 644 0:80 53248
  ./Library/Application Support/Zelko/vesk/pdb.db.DATE 644 0:80 53248
  ./Library/Application Support/Zelko/vesk/vesk.db 644 0:80 77824
  ./Library/Application Support/Zelko/Zelko PCD/cache/cache.db 666 0:80 20480
  ./Library/Application Support/Zelko/Zelko PCD/cache/cache.db.DATE 666 0:80 20480
  $ rm "$zelko"/vesk/*.20* "$zelko"/*/cache/*.20*

Interrupted changes.

  $ veskdb recover pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db': there is nothing to recover
  $ : >"$pdb-journal"
  $ veskdb list pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' has a stale journal, '/Library/Application Support/Zelko/vesk/pdb.db-journal'; veskdb --root 'ROOT' recover pdb
  [2]
  $ veskdb backup pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' has a journal, '/Library/Application Support/Zelko/vesk/pdb.db-journal': a change is under way or was interrupted; wait for its end, or roll it back: veskdb --root 'ROOT' recover pdb
  [2]
  $ veskdb restore pdb --yes
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' has a journal, '/Library/Application Support/Zelko/vesk/pdb.db-journal': a change is under way or was interrupted; wait for its end, or roll it back: veskdb --root 'ROOT' recover pdb
  [2]
  $ veskdb verify pdb
  fault|pdb|/Library/Application Support/Zelko/vesk/pdb.db|'/Library/Application Support/Zelko/vesk/pdb.db' has a stale journal, '/Library/Application Support/Zelko/vesk/pdb.db-journal'|veskdb --root 'ROOT' recover pdb
  note|pdb|/Library/Application Support/Zelko/backup/pdb.db|2 relations to payloads that are not on record|
  ok|pdb|/Library/Application Support/Zelko/backup/pdb.db|sound|
  [1]
  $ veskdb salvage pdb --to /salvaged.pdb
  veskdb: warning: '/Library/Application Support/Zelko/vesk/pdb.db' has a journal, which is left out; roll it back first, if that works: veskdb --root 'ROOT' recover pdb
  tables|pcd_meta|2|2|true
  tables|payloads|3|3|true
  tables|dependencies|4|4|true
  tables|dependency_type|8|8|true
  tables|payload_data|2|2|true
  tables|upgraded_payloads|1|1|true
  tables|user_actions|1|1|true
  veskdb: '/salvaged.pdb' holds what could be read, which is all; to put it in the database's place: veskdb --root 'ROOT' restore pdb --from '/salvaged.pdb'
  $ veskdb recover pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db': what an interrupted change had left was rolled back
  $ : >"$pcd-wal"
  $ veskdb list pcd
  veskdb: '/Library/Application Support/Zelko/Zelko PCD/pcd.db' is in write-ahead mode or has such a log next to it (-wal), which the installer cannot read; veskdb --root 'ROOT' recover pcd
  [2]
  $ veskdb recover pcd
  veskdb: '/Library/Application Support/Zelko/Zelko PCD/pcd.db': what an interrupted change had left was rolled back
  $ cp "$cache" root/copied.db; sqlite3 root/copied.db 'PRAGMA journal_mode = WAL'
  wal
  $ veskdb backup cache --to /copied.db
  veskdb: --to '/copied.db' is neither empty nor a copy of the cache store; give the path of a new file
  [2]
  $ veskdb restore cache --from /copied.db --yes
  veskdb: the copy '/copied.db' is not usable; nothing was replaced: '/copied.db' is in write-ahead mode or has such a log next to it (-wal), which the installer cannot read
  [1]
  $ veskdb salvage cache --from /copied.db --to /salvaged.db
  tables|pcd_meta|2|2|true
  tables|domain_data|1|1|true
  veskdb: '/salvaged.db' holds what could be read, which is all; to put it in the database's place: veskdb --root 'ROOT' restore cache --from '/salvaged.db'
  $ veskdb recover cache --file /copied.db
  veskdb: '/copied.db': what an interrupted change had left was rolled back
  $ veskdb salvage cache --from /copied.db --to /salvaged.db
  veskdb: --to '/salvaged.db' exists already; give the path of a new file
  [2]
  $ veskdb diff cache /salvaged.db /copied.db
  $ cp "$pdb" root/copied.pdb; sqlite3 root/copied.pdb "UPDATE payloads SET installTime = 1.5, productName = NULL, version = x'00FF'"
  $ veskdb salvage pdb --from /copied.pdb --to /reals.pdb | grep payloads
  tables|payloads|3|3|true
  tables|upgraded_payloads|1|1|true
  $ veskdb diff pdb /copied.pdb /reals.pdb

Damage.

  $ cp "$pdb" sound
  $ truncate -s 8192 "$pdb"
  $ veskdb list pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db': database disk image is malformed: kVeskIOError (4), the file cannot be read or written, or is not an intact database
  [2]
  $ veskdb find x pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db': database disk image is malformed: kVeskIOError (4), the file cannot be read or written, or is not an intact database
  [2]
  $ veskdb info | grep 'pdb|[bpru]'
  pdb|path|/Library/Application Support/Zelko/vesk/pdb.db
  pdb|present|true
  pdb|usable from version|\N
  pdb|rows|\N
  pdb|unreadable|'/Library/Application Support/Zelko/vesk/pdb.db': database disk image is malformed: kVeskIOError (4), the file cannot be read or written, or is not an intact database
  pdb|backup|/Library/Application Support/Zelko/backup/pdb.db
  pdb|backup made|DATE
  $ veskdb backup pdb
  veskdb: the database '/Library/Application Support/Zelko/vesk/pdb.db' is not usable; nothing was replaced: '/Library/Application Support/Zelko/vesk/pdb.db': database disk image is malformed: kVeskIOError (4), the file cannot be read or written, or is not an intact database
  [1]
  $ veskdb verify pdb
  fault|pdb|/Library/Application Support/Zelko/vesk/pdb.db|'/Library/Application Support/Zelko/vesk/pdb.db': database disk image is malformed: kVeskIOError (4), the file cannot be read or written, or is not an intact database|veskdb --root 'ROOT' restore pdb
  note|pdb|/Library/Application Support/Zelko/backup/pdb.db|2 relations to payloads that are not on record|
  ok|pdb|/Library/Application Support/Zelko/backup/pdb.db|sound|
  [1]
  $ veskdb salvage pdb --to /new.pdb
  tables|pcd_meta|2|2|true
  tables|payloads|0|0|false
  tables|dependencies|0|0|false
  tables|dependency_type|0|0|false
  tables|payload_data|0|0|false
  tables|upgraded_payloads|0|0|false
  tables|user_actions|0|0|false
  veskdb: '/new.pdb' holds what could be read; to put it in the database's place: veskdb --root 'ROOT' restore pdb --from '/new.pdb'
  [1]
  $ : >"$pdb"
  $ veskdb list pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db': there is no table payloads; veskdb --root 'ROOT' verify pdb
  [2]
  $ veskdb verify pdb
  fault|pdb|/Library/Application Support/Zelko/vesk/pdb.db|it is not the payload database: tables are missing: pcd_meta, payloads, dependencies, dependency_type, payload_data, upgraded_payloads, user_actions|veskdb --root 'ROOT' restore pdb
  note|pdb|/Library/Application Support/Zelko/backup/pdb.db|2 relations to payloads that are not on record|
  ok|pdb|/Library/Application Support/Zelko/backup/pdb.db|sound|
  [1]
  $ rm "$pdb"; mkdir "$pdb"
  $ veskdb list pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' is not a file; move it away
  [2]
  $ veskdb restore pdb --yes
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' is not a file; move it away
  [2]
  $ veskdb backup pdb
  veskdb: the database '/Library/Application Support/Zelko/vesk/pdb.db' is not usable; nothing was replaced: '/Library/Application Support/Zelko/vesk/pdb.db' is not a file
  [1]
  $ veskdb recover pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' is not a file; move it away
  [2]
  $ rmdir "$pdb"; cp sound "$pdb"; chown 0:80 "$pdb"
  $ overwrite() { head -c 4096 /dev/zero | tr '\0' '\377' | dd of="$pdb" bs=4096 seek=$1 conv=notrunc status=none; }
  $ overwrite 9; : >"$pdb-journal"; veskdb recover pdb
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db': what an interrupted change had left was rolled back
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' is not sound: '/Library/Application Support/Zelko/vesk/pdb.db': database disk image is malformed: kVeskIOError (4), the file cannot be read or written, or is not an intact database; see veskdb --root 'ROOT' verify pdb
  [1]
  $ truncate -s 8192 "$pdb"; : >"$pdb-journal"; veskdb recover pdb; rm "$pdb-journal"; cp sound "$pdb"
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db' cannot be recovered: database disk image is malformed: kVeskIOError (4), the file cannot be read or written, or is not an intact database
  $ ln -s loop root/loop
  $ veskdb restore pdb --from /loop --yes
  veskdb: '/loop': Too many levels of symbolic links
  [2]

Versions and schemas.

  $ version() { sqlite3 "$cache" "UPDATE pcd_meta SET value = '$1' WHERE key = 'schema_version'; UPDATE pcd_meta SET value = '$2' WHERE key LIKE '%comp%'"; }
  $ for versions in '99 1' '0 0' '99 99' '1000000000 1' 'x 1'; do version $versions; veskdb verify cache; done
  note|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|it is at version 99, newer than 2, the newest that this program knows; its schema was not compared|
  ok|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|sound|
  ok|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|sound|
  fault|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|it is of a newer version: it can be used from version 99 on and this program knows 2|use the product's newer version
  fault|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|the row schema_version of pcd_meta is '1000000000', not a number|veskdb --root 'ROOT' restore cache --from FILE, a sound copy; if there is none, as root: mv 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db' 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db'.damaged, and the installer starts a new one
  fault|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|the row schema_version of pcd_meta is 'x', not a number|veskdb --root 'ROOT' restore cache --from FILE, a sound copy; if there is none, as root: mv 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db' 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db'.damaged, and the installer starts a new one
  [1]
  $ sqlite3 "$cache" "DELETE FROM pcd_meta"
  $ veskdb verify cache
  fault|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|the row schema_version is missing from pcd_meta|veskdb --root 'ROOT' restore cache --from FILE, a sound copy; if there is none, as root: mv 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db' 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db'.damaged, and the installer starts a new one
  fault|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|the row schema_compatibility_version is missing from pcd_meta|veskdb --root 'ROOT' restore cache --from FILE, a sound copy; if there is none, as root: mv 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db' 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db'.damaged, and the installer starts a new one
  [1]
  $ sqlite3 "$cache" "DROP TABLE pcd_meta; CREATE TABLE pcd_meta(key TEXT, value TEXT)"
  $ veskdb verify cache
  fault|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|its table pcd_meta is not as the installer creates it|veskdb --root 'ROOT' restore cache --from FILE, a sound copy; if there is none, as root: mv 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db' 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db'.damaged, and the installer starts a new one
  [1]
  $ veskdb info | grep cache
  cache|path|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db
  cache|present|true
  cache|size|20480
  cache|owner|0:80
  cache|mode|0666
  cache|modified|DATE
  cache|schema version|\N
  cache|usable from version|\N
  cache|rows|\N
  cache|unreadable|'/Library/Application Support/Zelko/Zelko PCD/cache/cache.db': not as the installer creates it: table pcd_meta
  cache|backup|\N
  cache|backup made|\N
  $ sqlite3 "$vesk" "DELETE FROM dolm_payload; DELETE FROM dolm_collection; CREATE TABLE \"own\"\"table\"(a)"
  $ veskdb verify vesk
  note|vesk|/Library/Application Support/Zelko/vesk/vesk.db|it has tables that the installer does not create: own"table|
  ok|vesk|/Library/Application Support/Zelko/vesk/vesk.db|sound|
  ok|vesk|/Library/Application Support/Zelko/backup/vesk.db|sound|
  $ veskdb info | grep own
  pdb|owner|0:80
  pcd|owner|0:80
  cache|owner|0:80
  vesk|owner|0:80
  vesk|rows|dolm_payload 0, dolm_collection 0, dolm_collection_payload 0, dolm_payload_constraint 0, collection_data 0, payload_data 0, upgraded_payloads 0, own"table 0
  $ cp "$pdb" sound; cp "$pcd" sound.pcd; veskdb export pdb OLD >old; veskdb export pcd >settings
  $ sqlite3 "$pdb" "DROP TABLE payloads; CREATE TABLE payloads(PayloadID)"
  $ veskdb add pdb A --family F --name N --version 1 --signature s
  veskdb: payload 'A': kVeskError (12), the database refuses the statement
  [2]
  $ veskdb set pdb OLD --state installed
  veskdb: payload 'OLD': kVeskError (12), the database refuses the statement
  [2]
  $ veskdb remove pdb OLD --yes
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db': not as the installer creates it: table payloads; veskdb --root 'ROOT' verify pdb
  [2]
  $ veskdb import pdb --replace <old
  veskdb: payload 'OLD': kVeskError (12), the database refuses the statement
  [2]
  $ cp sound "$pdb"; sqlite3 "$pdb" "DROP TABLE payload_data; DROP TABLE dependencies"
  $ veskdb set pdb OLD --data 1 K V
  veskdb: payload 'OLD', data 1 'K': kVeskError (12), the database refuses the statement
  [2]
  $ veskdb set pdb OLD --conflicts B
  veskdb: payload 'OLD', conflicts 'B': kVeskError (12), the database refuses the statement
  [2]
  $ veskdb remove pdb OLD --data 1 K --yes
  veskdb: '/Library/Application Support/Zelko/vesk/pdb.db': there is no table payload_data; veskdb --root 'ROOT' verify pdb
  [2]
  $ veskdb import pdb --replace <old
  veskdb: payload 'OLD', dependencies: kVeskError (12), the database refuses the statement
  [2]
  $ sqlite3 "$pcd" "DROP TABLE domain_data; CREATE TABLE domain_data(domain)"
  $ veskdb set pcd 1 a b c
  veskdb: setting 1 'a' 'b': kVeskError (12), the database refuses the statement
  [2]
  $ veskdb remove pcd 1 a b
  veskdb: setting 1 'a' 'b': kVeskError (12), the database refuses the statement
  [2]
  $ veskdb import pcd --replace <settings
  veskdb: setting 1 '{E2B9}' 'DefaultDriverPayload': kVeskError (12), the database refuses the statement
  [2]
  $ cp sound "$pdb"; cp sound.pcd "$pcd"

Access.

  $ chmod 666 "$zelko/backup/pdb.db" && chown 1234:0 "$zelko/backup"
  $ chmod 777 root/Library && chown 1234:80 "$zelko/vesk" && printf 12 >"$pdb.veskdb-ABCDEF" && printf 4 >"$pdb.veskdb-ABCDEFG" && printf 5 >"$pdb.others-ABCDEF" && printf 123 >"$zelko/backup/pdb.db.20200101T000000Z.1"
  $ veskdb verify pdb cache
  fault|pdb|/Library/Application Support/Zelko/vesk|its owner is 1234:80, not 0:80|as root: chown 0:80 'ROOT/Library/Application Support/Zelko/vesk'
  fault|pdb|/Library|every user may write a folder above the database, and so replace it: its mode is 0777|as root: chmod o-w 'ROOT/Library'
  note|pdb|/Library/Application Support/Zelko/vesk/pdb.db|2 relations to payloads that are not on record|
  note|pdb|/Library/Application Support/Zelko/vesk/pdb.db|temporary files of an interrupted backup or restore: 1, 2 bytes|the next one removes them, such as: veskdb --root 'ROOT' restore pdb
  note|pdb|/Library/Application Support/Zelko/backup/pdb.db|2 relations to payloads that are not on record|
  note|pdb|/Library/Application Support/Zelko/backup/pdb.db|dated copies: 1, 3 bytes|remove those that are no longer needed: ls -l 'ROOT/Library/Application Support/Zelko/backup/pdb.db'.2*
  fault|pdb|/Library/Application Support/Zelko/backup|others may write it: its owner is 1234:0, its mode 0775|as root: chown 0 'ROOT/Library/Application Support/Zelko/backup'; chmod o-w 'ROOT/Library/Application Support/Zelko/backup'
  fault|pdb|/Library/Application Support/Zelko/backup/pdb.db|others may write it: its owner is 0:0, its mode 0666|as root: chown 0 'ROOT/Library/Application Support/Zelko/backup/pdb.db'; chmod o-w 'ROOT/Library/Application Support/Zelko/backup/pdb.db'
  fault|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|its table pcd_meta is not as the installer creates it|veskdb --root 'ROOT' restore cache --from FILE, a sound copy; if there is none, as root: mv 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db' 'ROOT/Library/Application Support/Zelko/Zelko PCD/cache/cache.db'.damaged, and the installer starts a new one
  note|pdb|/Library/Application Support/Zelko/backup|not root's: 2 files or folders below the folder of all databases, such as this one|find out who made them and what for, before the next install
  [1]
