# Completion of zevo-trace for bash.
_zevo_trace() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]-} words
    case $before in
    --level)
        words="debug error warning level_0 level_1 level_2 level_3 level_4 level_5"
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
        return
        ;;
    --thread | --call | --hide | --within | --text | --from | --to | --run | --lines | --machine) return ;;
    esac
    if [ "$COMP_CWORD" = 1 ]; then
        words="show why summary diff crash export view --help --version"
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
        return
    fi
    case $command in
    show) words="--thread --call --hide --within --level --text --from --to --run --follow --help" ;;
    why) words="--run --all --json --help" ;;
    summary) words="--run --all --json --help" ;;
    diff) words="--thread --json --help" ;;
    crash) words="--run --all --lines --json --help" ;;
    view) words="--out --run --help" ;;
    export) words="--chrome --speedscope --json-lines --parquet --run --machine --help" ;;
    *) words="" ;;
    esac
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word") ;;
    *) compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    esac
}
complete -F _zevo_trace zevo-trace
