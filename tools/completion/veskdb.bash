# bash completion for veskdb
_veskdb()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
    local verbs='list show why find graph diff add set remove export import verify backup restore recover salvage info' verb='' candidates='' each
    for each in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ " $verbs " != *" $each "* ]] || verb=$each
    done
    case $before in
    --root) mapfile -t COMPREPLY < <(compgen -d -- "$word"); return ;;
    --to | --from | --file | --value-from) mapfile -t COMPREPLY < <(compgen -f -- "$word"); return ;;
    --format) candidates='dot mermaid svg' ;;
    --depth) return ;;
    --state) candidates='installed not-installed all' ;;
    --family | --name | --version | --signature | --conflicts | --upgrades) return ;;
    --relation)
        [[ $verb != remove ]] || return
        candidates='conflicts upgrades requires required critical recommended load-patch load-lang-pack' ;;
    list | remove | set | export | import)
        candidates='pdb pcd cache'
        [[ $before != list ]] || candidates+=' vesk actions'
        ;;
    show) candidates='pdb vesk' ;;
    add | why | graph) candidates=pdb ;;
    restore | recover | salvage | diff) candidates='pdb pcd cache vesk' ;;
    *)
        case $verb in
        '') candidates=$verbs ;;
        verify | backup | find) candidates='pdb pcd cache vesk' ;;
        import | diff)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
        esac
        ;;
    esac
    if [[ $word == -* ]]; then
        candidates='--root --json --help --version'
        case $verb in
        list) candidates+=' --state' ;;
        add) candidates+=' --family --name --version --signature --conflicts --upgrades --relation --replace' ;;
        set) candidates+=' --state --data --value-from --conflicts --upgrades --relation' ;;
        remove) candidates+=' --data --relation --yes' ;;
        backup) candidates+=' --to' ;;
        restore) candidates+=' --from --yes' ;;
        recover) candidates+=' --file' ;;
        salvage) candidates+=' --from --to' ;;
        graph) candidates+=' --depth --format' ;;
        import) candidates+=' --replace' ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$word")
}
complete -o filenames -F _veskdb veskdb
