# bash completion for veskdb
_veskdb()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
    local verbs='list show add set remove verify backup restore recover info' verb='' candidates='' each
    for each in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ " $verbs " != *" $each "* ]] || verb=$each
    done
    case $before in
    --root) mapfile -t COMPREPLY < <(compgen -d -- "$word"); return ;;
    --to | --from | --file | --value-from) mapfile -t COMPREPLY < <(compgen -f -- "$word"); return ;;
    --state) candidates='installed not-installed all' ;;
    --family | --name | --version | --signature | --conflicts | --upgrades) return ;;
    --relation)
        [[ $verb != remove ]] || return
        candidates='conflicts upgrades requires required critical recommended load-patch load-lang-pack' ;;
    list | remove | set) candidates='pdb pcd cache'; [[ $before != list ]] || candidates+=' vesk' ;;
    show) candidates='pdb vesk' ;;
    add) candidates=pdb ;;
    *)
        case $verb in
        '') candidates=$verbs ;;
        verify | backup | restore | recover) candidates='pdb pcd cache vesk' ;;
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
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$word")
}
complete -o filenames -F _veskdb veskdb
