# bash completion of zevo-check
_zevo_check() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command='' i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        fix | new | bundle) command=${COMP_WORDS[i]} && break ;;
        esac
    done
    case $before in
    --modem | --show-file) return ;;
    --out) [ "$command" = bundle ] || compopt -o dirnames ;;
    esac
    local options='--help --version'
    case $command in
    fix) options='--help --dry-run' ;;
    new) options='--help --modem --out --database' ;;
    bundle) options='--help --out --show --show-file' ;;
    *) options="$options --live --json --without-applications" ;;
    esac
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word") ;;
    *)
        mapfile -t COMPREPLY < <(compgen -d -- "$word")
        if [ -z "$command" ]; then
            mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -W 'fix new bundle' -- "$word")
        elif [ "$command $before" = 'bundle --out' ]; then
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
        fi
        ;;
    esac
}
complete -o filenames -F _zevo_check zevo-check
