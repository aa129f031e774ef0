# bash completion for hookhost
_hookhost()
{
    local word=${COMP_WORDS[COMP_CWORD]} candidates=''
    case ${COMP_WORDS[COMP_CWORD-1]} in
    --mode) candidates='install reinstall uninstall' ;;
    --phase) candidates='pre-system-check pre-payload post-payload session-open session-close' ;;
    --format) candidates='text raw jsonl' ;;
    --debug) candidates='wait' ;;
    --expect) candidates='0 timeout signal: exit:' ;;
    --root | --home | --keep) mapfile -t COMPREPLY < <(compgen -d -- "$word"); return ;;
    -D | --property | --timeout | --expect-log) return ;;
    *)
        if [[ $word != -* ]]; then
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
        fi
        candidates='--mode --phase --property --null-properties --root --overlay --keep --changes --home --no-log-callback --no-capture --expect --expect-log --explain --debug --format --timeout --dry-run --list --version --help'
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$word")
}
complete -o filenames -F _hookhost hookhost
