#!/usr/bin/env bash
# Runs the tools of both builds over the same inputs and compares what they print, write and end with; then the
# comparison programs beside them, over text and over inputs damaged from a seed (NVUTIL_SEED, NVUTIL_INPUTS).
#
# usage: differential.sh NATIVE_TOOL OTHER_TOOL_COMMAND...
#
# Compressed bytes may differ, since the builds compress with different libraries; everything else may not.
set -euo pipefail

[[ $# -ge 2 ]] || { echo "usage: differential.sh NATIVE_TOOL OTHER_TOOL_COMMAND..." >&2; exit 2; }
native=("$(realpath "$1")")
shift
other=()
for word in "$@"; do
    [[ -f $word ]] && word=$(realpath "$word")
    other+=("$word")
done
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir inputs native other
export XDG_DATA_HOME=$work/data  # the user's own key is left alone
passed=0
failed=0

report() {
    local name=$1 isSame=$2
    if [[ $isSame == yes ]]; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        printf 'FAILED: %s\n' "$name"
    fi
}

# Only identifier and class: what the platforms say about files and cabinets is in their own words. Lines of the
# other tool's launcher are left out.
firstWords() { sed -n '/^nvutil: /p' "$1" | cut -d' ' -f1-3; }

# runBoth NAME ARGUMENT... leaves output, errors and status of NAME in native/ and other/. "@" in an argument
# stands for the folder of the build at hand.
runBoth() {
    local name=$1 build status
    shift
    for build in native other; do
        local -n command=$build
        status=0
        "${command[@]}" "${@//@/$build}" <"${input:-/dev/null}" >"$build/$name.out" 2>"$build/$name.errors" || status=$?
        echo "$status" >"$build/$name.status"
        firstWords "$build/$name.errors" >"$build/$name.refusal"
    done
}

isSame() { cmp -s "native/$1" "other/$1"; }

# Both builds must print the same and end with the same status.
compare() {
    local name=$1 same=yes
    runBoth "$@"
    isSame "$name.out" && isSame "$name.status" && isSame "$name.refusal" || same=no
    report "$name: nvutil ${*:2}" $same
}

# Both builds write the file NAME; what it holds must be the same once expanded.
compareBuilt() {
    local name=$1 same=yes
    runBoth "$name-build" state build "$2" -o "@/$name.state"
    isSame "$name-build.status" || same=no
    for build in native other; do
        if [[ -e $build/$name.state ]]; then
            "${native[@]}" state show --bytes "$build/$name.state" | sed '/^Compressed/d' >"$build/$name.bytes"
        else
            echo "not written" >"$build/$name.bytes"
        fi
    done
    isSame "$name.bytes" || same=no
    report "$name: state build $2" $same
}

# Every way of looking at a state.
compareShown() {
    local name=$1 state=$2
    compare "$name-tree" state show "$state"
    compare "$name-json" state show --json "$state"
    compare "$name-bytes" state show --bytes "$state"
    compare "$name-verify" state verify "$state"
}

# --- Inputs ---------------------------------------------------------------------------------------------

settings=inputs/settings.json
cp "$root/examples/settings.json" "$settings"
sed -e '/"feature": 10}, "value"/s/"integer": 1}/"integer": 25}/' -e 's/"DRAFT"/"PROOF"/' "$settings" >inputs/changed.json
cat >inputs/empty.json <<'JSON'
{"driverVersion": "0.0.0.65535", "namespaces": {}}
JSON
cat >inputs/odd.json <<'JSON'
{"namespaces": {"-7": [], "2147483647": [
  {"id": {"newFeature": "lone \ud800 and \udfff, pair \ud83d\ude00, \uffff, \u0000 and \u001b"}, "value": {"string": "\\u\"/ü"}},
  {"id": {"feature": 1}, "value": {"dateTime": -62167219201}},
  {"id": {"feature": 1}, "value": {"dateTime": 253402300800}, "unspecified": true},
  {"id": {"feature": 1}, "value": {"dimension": 2147483647}},
  {"id": {"feature": 1}, "value": {"dimensionRange": [-2147483648, 16777217]}},
  {"id": {"feature": 1}, "value": {"list": {"type": 255, "items": []}}, "unspecified": true}]}}
JSON
"${native[@]}" state build "$settings" -o inputs/whole.state
"${native[@]}" state build inputs/changed.json -o inputs/changed.state
size=$(stat -c %s inputs/whole.state)
tail -c +17 inputs/whole.state >inputs/whole.buffer

wrongDocuments=(
    '' '[]' '{' '{"namespaces":{}} x' '{"namespaces":{"1":[],"1":[]}}' '{"namespaces":{"one":[]}}'
    '{"driverVersion":"1.2.3","namespaces":{}}'
    '{"namespaces":{"1":[{"id":{"feature":1}}]}}'
    '{"namespaces":{"1":[{"id":{"feature":1,"value":2},"value":{"integer":1}}]}}'
    '{"namespaces":{"1":[{"id":{"feature":1},"value":{"integer":2147483648}}]}}'
    '{"namespaces":{"1":[{"id":{"feature":1},"value":{"blob":"ABC"}}]}}'
)

# --- Comparisons ----------------------------------------------------------------------------------------

for document in settings changed empty odd; do
    compareBuilt "$document" "inputs/$document.json"
    # Each build reads what either wrote.
    for maker in native other; do
        cp "$maker/$document.state" "inputs/$document-by-$maker.state"
        compareShown "$document-by-$maker" "inputs/$document-by-$maker.state"
    done
    compare "$document-same" state diff "inputs/$document-by-native.state" "inputs/$document-by-other.state"
done
compare changes state diff inputs/whole.state inputs/changed.state
compare changes-status state diff --exit-code inputs/whole.state inputs/changed.state

compare info buffer info inputs/whole.buffer
runBoth pack buffer pack "$settings" -o "@/packed"
for maker in native other; do
    cp "$maker/packed" "inputs/packed-by-$maker"
    compare "unpack-by-$maker" buffer unpack "inputs/packed-by-$maker"
    compare "hex-by-$maker" buffer unpack --hex "inputs/packed-by-$maker"
    report "what $maker packed is unpacked whole" "$(cmp -s "$settings" "native/unpack-by-$maker.out" && echo yes || echo no)"
done

# Cabinets of every compression, and one with a byte changed in each structure and in its blocks.
unpackBoth() {
    local name=$1 same=no
    compare "$name" product unpack "inputs/$name.cab" -o "@/$name"
    mkdir -p "native/$name" "other/$name"  # there when the cabinet has been refused, too
    diff -r "native/$name" "other/$name" >/dev/null && same=yes
    report "both builds unpack the same from $name.cab" $same
}
for kind in stored mszip lzx quantum; do
    cp "$root/fuzz/corpus/cabinetunpack/$kind" "inputs/$kind.cab"
    unpackBoth "$kind"
done
for offset in 0 8 16 24 26 28 30 36 40 42 44 48 52 60 67 90 92 96 98 150; do
    cp inputs/mszip.cab "inputs/mszip-$offset.cab"
    printf '\xA5' | dd of="inputs/mszip-$offset.cab" bs=1 seek="$offset" conv=notrunc status=none
    unpackBoth "mszip-$offset"
done

for number in "${!wrongDocuments[@]}"; do
    printf '%s' "${wrongDocuments[number]}" >inputs/wrong.json
    compare "wrong-$number" state build inputs/wrong.json --hex
done
for length in 0 7 15 16 17 28 29 100 $((size - 13)) $((size - 1)); do
    head -c "$length" inputs/whole.state >inputs/cut.state
    compare "cut-at-$length" state show --bytes inputs/cut.state
    tail -c "$length" inputs/whole.state >inputs/end.buffer
    compare "end-of-$length" buffer unpack inputs/end.buffer
done
# A byte changed in the header, in the cabinet's header, entries and block, and in each field of the footer.
for offset in 0 4 8 16 20 24 32 40 41 42 44 46 52 56 58 68 72 74 76 90 98 100 102 104 110 500 \
    $((size - 13)) $((size - 12)) $((size - 8)) $((size - 6)) $((size - 5)) $((size - 4)) $((size - 1)); do
    cp inputs/whole.state inputs/changed-byte.state
    printf '\xA5' | dd of=inputs/changed-byte.state bs=1 seek="$offset" conv=notrunc status=none
    compare "changed-at-$offset" state show inputs/changed-byte.state
done

input=$settings
compare input-is-standard state build - --hex -o "@/hex.state"
unset input
compare missing state show inputs/no-such-file
compare no-command
compare wrong-option state show --no-such-option inputs/whole.state
compare convert convert 8.5 inches mm
compare convert-negative convert -72 pt in
compare convert-unknown convert 1 furlong mm
compare exceptions exceptions

# Neither build has a printer here; what printers keep is the same bytes in both, and compared above.
export NVUTIL_PRINTER_STORE=$work/printers.sqlite
compare settings-none settings list
compare settings-unknown settings get --printer "No such printer"
compare settings-export settings export --printer "No such printer"
compare settings-damaged settings import --printer "No such printer" inputs/cut.state
compare settings-wrong settings set --printer "No such printer" '{"id": {}}'
compare settings-usage settings get

# With a printer in both, each takes over what either exported. Off Windows the name alone makes it.
if [[ $(basename "${other[0]}") == wine* ]]; then
    printer="Differential test $$"
    printerKey="HKLM\\System\\CurrentControlSet\\Control\\Print\\Printers\\$printer"
    trap '"${other[0]}" reg delete "$printerKey" /f >/dev/null 2>&1; rm -rf "$work"' EXIT
    for value in "Name=$printer" "Printer Driver=none" "Port=FILE:" "Print Processor=WinPrint" "Datatype=RAW"; do
        "${other[0]}" reg add "$printerKey" /v "${value%%=*}" /d "${value#*=}" /f >/dev/null 2>&1
    done
    input=$settings
    compare exchange-set settings set --printer "$printer" -
    unset input
    runBoth exchange-export settings export --printer "$printer"
    for maker in native other; do
        cp "$maker/exchange-export.out" "inputs/exported-by-$maker"
        compare "exchange-change-$maker" settings set --printer "$printer" '{"id": {"feature": 1}, "value": {"integer": 3}}'
        compare "exchange-import-$maker" settings import --printer "$printer" "inputs/exported-by-$maker"
        compare "exchange-get-$maker" settings get --printer "$printer"
        report "what $maker exported is imported whole" \
            "$(grep -q '"feature"' "native/exchange-get-$maker.out" && echo yes || echo no)"
    done
fi

head -c 100001 /dev/zero | tr '\0' 'x' >inputs/odd-length
for value in crc hash checksum; do
    compare "$value" $value inputs/whole.state inputs/odd-length inputs/no-such-file
done
compare hash-16 hash --16 "$settings"
compare obscure obscure "a text of more than sixteen characters, ü"
compare obscure-quoted obscure --quoted '"\ud800 \u5541"'
# Product data.
products=inputs/productdata
cp -r "$root/examples/productdata" "$products"
compare product-models product models "$products"
compare product-check product check "$products"
compare product-info product info "$products" --model "Calyx Pro 9000"
for choice in Job: Page: "Paper size:Custom" "Paper type:Glossy" "Paper source:Tray 3" "Paper source:None"; do
    for language in PJL PCL5 PCL6; do
        compare "pdl-$choice-$language" pdl "$products" --model "Borea C3030" --feature "${choice%:*}" \
            --option "${choice#*:}" --type $language --qualifier Large --context 59,-12,70000,2970 --hex
    done
done
compare product-none product info "$products" --model Nobody
compare amp amp "ä€&auml;&ccdil;&nbsp;&amp;#300&bogus;東&OriginXY;&esc" --hex
runBoth seal seal "$settings" -o "@/sealed"
runBoth unseal unseal "@/sealed"
report "both builds unseal what they sealed" \
    "$(isSame unseal.out && cmp -s "$settings" native/unseal.out && echo yes || echo no)"

# Only ASCII: the platform's own reader takes a file in the ANSI code page where it has a mark.
printf '; settings\r\n[Device]\r\nModel = " A 1 "\r\nCopies=2\r\nEmpty=\r\n\r\n[Paper]\r\nSize=A4\r\n[device]\r\nModel=B\r\n' \
    >inputs/device.ini
compare ini-sections ini sections inputs/device.ini
compare ini-keys ini keys inputs/device.ini DEVICE
for key in model Copies Empty None; do
    compare "ini-get-$key" ini get inputs/device.ini Device "$key"
done
for build in native other; do
    cp inputs/device.ini "$build/changed.ini"
done
compare ini-set ini set "@/changed.ini" Paper Tray "Größe 2"
compare ini-remove ini set "@/changed.ini" Device Copies --remove
compare ini-new ini set "@/changed.ini" New Key "'quoted'"
for section in Device Paper New; do
    compare "ini-changed-$section" ini keys "@/changed.ini" "$section"
done
compare ini-changed-tray ini get "@/changed.ini" Paper Tray
compare ini-changed-key ini get "@/changed.ini" New Key

for length in 0 1 2 3 57 58 300; do
    head -c "$length" inputs/whole.state >inputs/part
    compare "base64-$length" base64 encode inputs/part
    compare "base64-plain-$length" base64 encode --no-padding --no-line-breaks inputs/part
    cp "native/base64-$length.out" inputs/part.txt
    compare "base64-back-$length" base64 decode inputs/part.txt --hex
done
compare base64-odd base64 decode "$settings" --hex

cat >inputs/list.dtd <<'DTD'
<!ELEMENT list (item*)>
<!ELEMENT item (#PCDATA)>
<!ATTLIST item n CDATA #REQUIRED>
<!ENTITY maker "A &amp; B">
DTD
xmlDocuments=(
    '<?xml version="1.0"?><!DOCTYPE list SYSTEM "list.dtd"><list><item n="1">x &maker;</item> </list>'
    '<!DOCTYPE list SYSTEM "list.dtd"><list><other/></list>'
    '<!DOCTYPE list SYSTEM "http://example.invalid/list.dtd"><list/>'
    '<r xmlns:p="urn:p" p:a="&quot;&#10;"><p:b>ü<![CDATA[<]]> <!--c--></p:b>&lt;</r>'
    '<!DOCTYPE r [<!ENTITY a "&b;&b;"><!ENTITY b "&a;">]><r>&a;</r>' '<r><a></r>' '<r>' $'<r>\xff</r>' ''
)
for number in "${!xmlDocuments[@]}"; do
    printf '%s' "${xmlDocuments[number]}" >"inputs/$number.xml"
    compare "xml-show-$number" xml show "inputs/$number.xml"
    compare "xml-validate-$number" xml validate "inputs/$number.xml"
done
# Where Wine's engine does not do what the platform's documents (docs/xml.md): defaults of an internal DTD, and
# prefixes.
differsUnderWine() { grep -qaE 'ATTLIST|[a-z]:[a-z]' "$1"; }
for document in "$root"/fuzz/corpus/xmlparse/*; do
    differsUnderWine "$document" || compare "xml-corpus-$(basename "$document")" xml show "$document"
done
compare help --help

# --- The library ----------------------------------------------------------------------------------------

# compareLines NAME: the lines of NAME.out in both folders, each a case. Lines are matched by their place.
compareLines() {
    local name=$1 lines differing
    lines=$(wc -l <"native/$name.out")
    diff <(sed 's/\r$//' "native/$name.out") <(sed 's/\r$//' "other/$name.out") >"$name.differences" || true
    differing=$(grep -c '^<' "$name.differences" || true)
    if [[ -s $name.differences && $differing -eq 0 ]]; then differing=1; fi
    printf '%s: %d lines, %d differ\n' "$name" "$lines" "$differing"
    # The whole list is long when one cause touches many: NVUTIL_SHOW asks for more of it.
    grep '^[<>]' "$name.differences" | sort -k2,2n -s | head -n "${NVUTIL_SHOW:-60}" || true
    if ! cmp -s "native/$name.status" "other/$name.status"; then
        printf 'FAILED: %s ended differently; the last line names the input\n' "$name"
        tail -n 1 "native/$name.out" "other/$name.out"
        failed=$((failed + 1))
    fi
    passed=$((passed + lines - differing))
    failed=$((failed + differing))
}

# runComparison NAME ARGUMENT...: the program in each build; the file that it writes is the last argument.
runComparison() {
    local name=$1 build status
    shift
    local nativeProgram=("$(dirname "${native[0]}")/nvutil_comparison")
    local otherProgram=("${other[@]}")
    local extension=
    [[ ${other[-1]} == *.exe ]] && extension=.exe
    otherProgram[-1]=$(dirname "${other[-1]}")/nvutil_comparison$extension
    for build in native other; do
        local -n program=${build}Program
        status=0
        timeout 300 "${program[@]}" "${@//@/$build}" "$build/$name.out" >/dev/null 2>"$build/$name.errors" || status=$?
        echo "$status" >"$build/$name.status"
    done
    [[ -s native/$name.out && $(cat "native/$name.status") == 0 ]] || {
        printf 'FAILED: %s does not run\n' "$name"
        tail -n 3 "native/$name.errors" "native/$name.out"
        failed=$((failed + 1))
    }
    compareLines "$name"
}

seed=${NVUTIL_SEED:-1}
count=${NVUTIL_INPUTS:-2800}
mkdir -p seeds/{cabinet,buffer,state,xml,ini}
cp "$root"/fuzz/corpus/cabinetunpack/* seeds/cabinet
cp inputs/packed-by-* inputs/whole.buffer seeds/buffer
cp inputs/whole.state inputs/odd-by-native.state inputs/empty-by-native.state seeds/state
for document in inputs/[345].xml "$root"/fuzz/corpus/xmlparse/*; do
    differsUnderWine "$document" || cp "$document" seeds/xml
done
cp inputs/device.ini seeds/ini
for file in "$root"/fuzz/corpus/ini/*; do  # one with a byte-order mark is never touched, which has its own tests
    [[ $(basename "$file") == marked ]] || cp "$file" seeds/ini
done

printf 'seed %s, %s inputs (NVUTIL_SEED and NVUTIL_INPUTS set others)\n' "$seed" "$count"
runComparison text text "$seed"
runComparison inputs inputs "$seed" "$count" seeds "@/scratch"

printf 'differential: %d passed, %d failed\n' "$passed" "$failed"
[[ $failed -eq 0 ]]
