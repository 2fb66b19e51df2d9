# shellcheck shell=bash
# Functions for test scripts: each test is one call of `expect`, and `finish` prints the plan, which proves that the
# script did not end early.
tests_done=0

# expect NAME STATUS PATTERN... -- COMMAND...: runs COMMAND; it must end with STATUS ("any" for any but 0) and
# print every PATTERN (an extended regular expression; "!PATTERN" must not be printed).
expect() {
    local name=$1 wanted=$2 status=0 output complaint=""
    shift 2
    local patterns=()
    while [ "$1" != -- ]; do
        patterns[${#patterns[@]}]=$1
        shift
    done
    shift
    output=$("$@" 2>&1) || status=$?
    case $wanted in
    any) [ $status != 0 ] || complaint="ended with status 0" ;;
    *) [ $status = "$wanted" ] || complaint="ended with status $status, not $wanted" ;;
    esac
    for pattern in ${patterns[@]+"${patterns[@]}"}; do
        case $pattern in
        !*) if printf '%s\n' "$output" | grep -Eq -- "${pattern#!}"; then complaint="printed: ${pattern#!}"; fi ;;
        *) printf '%s\n' "$output" | grep -Eq -- "$pattern" || complaint="did not print: $pattern" ;;
        esac
    done
    tests_done=$((tests_done + 1))
    if [ -z "$complaint" ]; then
        echo "ok $tests_done - $name"
    else
        echo "not ok $tests_done - $name: $complaint"
        printf '%s\n' "$output" | sed 's/^/# /'
    fi
}

finish() { echo "1..$tests_done"; }
