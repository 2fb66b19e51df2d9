# bash completion of zevo-sim
_zevo_sim() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} behind='' i
    local commands='run plug switch-to unplug list storm play record'
    if [ "$COMP_CWORD" = 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$word")
        return
    fi
    for ((i = 2; i < COMP_CWORD; ++i)); do
        if [ "${COMP_WORDS[i]}" = -- ]; then behind=$i && break; fi
    done
    if [ -n "$behind" ]; then
        if [ "$behind" = $((COMP_CWORD - 1)) ]; then
            mapfile -t COMPREPLY < <(compgen -c -- "$word")
        else
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
        fi
        return
    fi
    local options='--help'
    case $command in
    run) options="$options --plug --quiet --database --" ;;
    plug) options="$options --port --switch-to --after --bus --database" ;;
    switch-to) options="$options --port --bus --database" ;;
    unplug) options="$options --all --bus --database" ;;
    list) options="$options --json --bus" ;;
    storm) options="$options --count --json --bus --database" ;;
    play) options="$options --let --junit --json --bus --database --" ;;
    record) options="$options --out --database" ;;
    esac
    case $before in
    --port | --after | --count | --let) return ;;
    --bus | --database)
        mapfile -t COMPREPLY < <(compgen -d -- "$word")
        return
        ;;
    esac
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word") ;;
    *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    esac
}
complete -o filenames -F _zevo_sim zevo-sim
