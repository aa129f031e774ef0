# Sourced by the transcripts: a scratch root with the records of a machine, and the programs, whose output is shown with
# ROOT for the root's path and "|" for a tab.
set -o pipefail
export ASAN_OPTIONS=detect_leaks=0
unset HOME
umask 022
root=$PWD/root
mkdir root
chown 0:80 root 2>/dev/null || exit 80 # other users are needed: skipped
chown 0:0 root

shown() { "$@" 2>&1 | sed -e "s:$root:ROOT:g" -e 's/\t/|/g'; }
hookhost() { shown "$HOOKHOST" "$@"; }
veskdb() { shown "$VESKDB" --root "$root" "$@"; }
terminal() { shown script -qec "'$VESKDB' --root '$root' $*" /dev/null </dev/null | tr -d '\r'; }

zelko="$root/Library/Application Support/Zelko"
pdb=$zelko/vesk/pdb.db
pcd="$zelko/Zelko PCD/pcd.db"
cache="$zelko/Zelko PCD/cache/cache.db"
vesk=$zelko/vesk/vesk.db

# APP is installed, has upgraded OLD and is in conflict with ANTI; the relations of ANTI and OLD name payloads that are not
# on record.
make_machine() { fill_machine >/dev/null; }

fill_machine()
{
    veskdb add pdb OLD --family Halvorick --name Old --version 11.0 --signature '' --conflicts NOWHERE
    veskdb add pdb APP --family Halvorick --name 'Fendrial 12 Tessarine' --version 12.0 --signature s --upgrades OLD
    veskdb set pdb APP --state installed --data 0 INSTALLDIR /Applications/Fendrial
    veskdb add pdb ANTI --family F --name 'R "1"' --version 1 --signature s --conflicts APP --relation requires GONE
    veskdb set pcd 1 '{E2B9}' DefaultDriverPayload '{E2B9}'
    veskdb set pcd 10 s k v
    veskdb set pcd 2 s k v
    veskdb set cache -- -1 sub "tab$(printf '\t')here" -v
    sqlite3 "$pdb" "INSERT INTO user_actions VALUES('APP', 'ann', '1700000000');
        INSERT INTO payload_data VALUES('APP', '3', 'raw', CAST(x'61FF0A' AS TEXT));
        UPDATE payloads SET installTime = 1700000000;
        UPDATE payloads SET installTime = 1234567890 WHERE PayloadID = 'OLD';
        UPDATE payloads SET installTime = 1 WHERE PayloadID = 'ANTI'"
    : >root/nothing
    veskdb salvage vesk --from /nothing --to /empty.db # a catalogue without records
    veskdb restore vesk --from /empty.db --yes
    rm root/nothing root/empty.db
    sqlite3 "$vesk" "INSERT INTO dolm_payload VALUES('P', 'F', 'N', '1', 's');
        INSERT INTO dolm_collection VALUES('C', 'P', 5, 6);
        INSERT INTO dolm_collection_payload VALUES('C', 'P', 0, 7);
        INSERT INTO dolm_payload_constraint VALUES('P', 'Q', 3);
        INSERT INTO payload_data VALUES('P', 1, 'K', 'V');
        INSERT INTO collection_data VALUES('C', 2, 'K', 'V')"
    veskdb backup
    find "$root" -exec touch -d @1700000000 {} +
}
