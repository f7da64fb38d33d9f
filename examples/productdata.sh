#!/usr/bin/env bash
# Turns settings saved for a printer into the bytes that go to it, with the product data in examples/productdata.
set -euo pipefail

tool=$(realpath "${1:?usage: productdata.sh NVUTIL}")
examples=$(realpath "$(dirname "${BASH_SOURCE[0]}")")
folder=$examples/productdata
model='Borea C3030'
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export NVUTIL_PRINTER_STORE=$work/printers.sqlite

step() { printf '\n== %s\n' "$*"; }

run() {
    printf '$ nvutil %s\n' "$*"
    "$tool" "$@"
}

fail() {
    printf 'productdata: %s\n' "$*" >&2
    exit 1
}

check() {
    local what=$1
    shift
    "$@" || fail "not so: $what"
    printf 'checked: %s\n' "$what"
}

# append LANGUAGE FEATURE [OPTION]: adds a command to the job; what has none in this language adds nothing.
append() {
    local language=$1 feature=$2 option=${3:-} status=0
    "$tool" pdl "$folder" --model "$model" --feature "$feature" --option "$option" --type "$language" \
        --qualifier Large --context 59,-12,2100,2970 -o part 2>refused || status=$?
    case $status in
        0) cat part >>"job.$target" ;;
        1) grep -q ' ExceptionFeatureNotFound: ' refused || fail "$(cat refused)" ;;
        *) fail "$(cat refused)" ;;
    esac
}

# The settings that the printer keeps, each as "FEATURE=OPTION".
savedSettings() {
    "$tool" settings get --printer Demo |
        sed -n 's/.*"newFeature": "\([^"]*\)"}, "value": {"option": {"newValue": "\([^"]*\)"}.*/\1=\2/p'
}

# makeJob LANGUAGE: the frame in PJL, the settings in the language itself.
makeJob() {
    target=$1
    : >"job.$target"
    append PJL Job
    append PJL Job "Begin $target"
    append "$target" Job "Begin $target"
    while IFS='=' read -r feature option; do
        append "$target" "$feature" "$option"
    done < <(savedSettings)
    append "$target" Page
    append "$target" Job End
    append PJL Job End
}

step "Check the product data, and look at a model"
run product check "$folder"
"$tool" product models "$folder" >models
check "there are 40 models" test "$(wc -l <models)" -eq 40
run product info "$folder" --model "$model"

step "Save settings for a printer"
run settings set --printer Demo "$examples/job.json"
savedSettings

step "Turn them into commands of each language"
for language in PCL5 PCL6 PS; do
    makeJob $language
    printf '%s, %d bytes:\n' "$language" "$(stat -c %s "job.$language")"
    od -A d -t x1z "job.$language"
done

frame='\033%%-12345X@PJL JOB NAME="Demo"\r\n@PJL ENTER LANGUAGE='
end='\033%%-12345X@PJL EOJ\r\n\033%%-12345X'
printf "${frame}PCL\r\n"'\033E\033&l26A\033&n7WdGlossy\033&l20H\033&l1S\033*t600R\033&a0h0V\033E'"$end" >wanted.PCL5
printf "${frame}PCLXL\r\n"'\300\002\370\045\310\301\006\000Glossy\370\047\300\001\370\065\103\323\073\000\364\377\370\052\165'"$end" >wanted.PCL6
for language in PCL5 PCL6; do
    check "the $language job has exactly the bytes wanted" cmp "wanted.$language" "job.$language"
done
