#!/usr/bin/env bash
# Saves and loads a printer's settings with the command-line tool, and checks every step.
set -euo pipefail

tool=${1:?usage: demo.sh NVUTIL}
tool=$(realpath "$tool")
settings=$(realpath "$(dirname "${BASH_SOURCE[0]}")")/settings.json
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

step() { printf '\n== %s\n' "$*"; }

# Runs the tool with the command line shown.
run() {
    printf '$ nvutil %s\n' "$*"
    "$tool" "$@"
}

# The same, with the first lines of what it prints.
runHead() {
    local lines=$1
    shift
    printf '$ nvutil %s | head -n %d\n' "$*" "$lines"
    "$tool" "$@" >output
    head -n "$lines" output
}

# The same, for input that must be refused.
runRefused() {
    local status=0
    printf '$ nvutil %s\n' "$*"
    "$tool" "$@" 2>&1 || status=$?
    [[ $status -eq 1 ]] || fail "exit status $status instead of 1"
}

fail() {
    printf 'demo: %s\n' "$*" >&2
    exit 1
}

check() {
    local what=$1
    shift
    "$@" || fail "not so: $what"
    printf 'checked: %s\n' "$what"
}

step "Save the settings of examples/settings.json in one compressed, versioned state"
run state build "$settings" -o printer.state
check "the state is less than an eighth of the JSON" test "$(($(stat -c %s printer.state) * 8))" -lt "$(stat -c %s "$settings")"

step "Load it: as a tree, as JSON, as bytes"
runHead 24 state show printer.state
"$tool" state show --json printer.state >shown.json
check "the JSON is that of examples/settings.json" cmp "$settings" shown.json
runHead 22 state show --bytes printer.state

step "Change three settings, one of them deep inside, and add one"
sed -e '/"feature": 10}, "value"/s/"integer": 1}/"integer": 25}/' \
    -e '/"newFeature": "TonerDarkness"/s/"integer": 3}/"integer": 5}/' \
    -e 's/"string": "DRAFT"/"string": "PROOF"/' \
    -e '/"newFeature": "TonerDarkness"/a\      {"id": {"newFeature": "Staple"}, "value": {"option": {"newValue": "TopLeft"}}},' \
    "$settings" >changed.json
run state build changed.json -o changed.state
run state diff printer.state changed.state
run state diff printer.state changed.state >differences
check "there are four differences" grep -qx "4 differences" differences

step "Check states"
run state verify printer.state changed.state

step "Look inside the compressed part, behind the header of 16 bytes"
tail -c +17 printer.state >printer.buffer
run buffer info printer.buffer
run buffer unpack printer.buffer -o namespaces
run buffer pack namespaces -o packed.buffer
check "packing the same bytes gives the same buffer" cmp printer.buffer packed.buffer

step "Refuse a damaged state, and write nothing"
head -c -100 printer.state >damaged.state
runRefused state show damaged.state
runRefused buffer unpack damaged.state -o nothing
check "no file was written" test ! -e nothing

step "Keep settings with a printer, change one, and move them to another printer"
export NVUTIL_PRINTER_STORE=$work/printers.sqlite  # the user's own printers are left alone
run settings import --printer Office printer.state
run settings set --printer Office '{"id": {"feature": 10}, "value": {"integer": 25}}'
run settings get --printer Office 10
run settings export --printer Office -o office.state
run settings import --printer Copyroom office.state
run settings list
"$tool" settings get --printer Copyroom >copyroom.json
check "the other printer has the changed settings" grep -q '"feature": 10}, "value": {"integer": 25}' copyroom.json

step "Seal a file for this user, and open it"
export XDG_DATA_HOME=$work/data  # the user's own key is left alone
run seal changed.json -o sealed
run unseal sealed -o opened.json
check "what was opened is what was sealed" cmp changed.json opened.json

step "Keep a value in an INI file"
run ini set office.ini Device Model "Größe A4"
run ini get office.ini Device Model

step "Convert a length"
run convert 8.5 inches mm

bash "$(dirname "$settings")/productdata.sh" "$tool"

printf '\nThe demo passed.\n'
