#!/usr/bin/env bash
# Checks that includes keep to the floors, close no ring, and that only the platform seam sees an operating system.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

# The floors from the ground up; the library's entry, which asks all rooms, stands on top. A file stands on the first that matches it and includes nothing from above.
floors='
8 ^src/utilities/utilitiesdll/utilitiesdllentry[.]
1 ^(include|src)/platform/
2 ^src/utilities/base/
2 ^include/utilities/utilitiesdll/(cxstring|ownedcriticalresource|sharedptr|smallobject|textresourceloader)[.]
3 ^(include|src)/utilities/(debuggingandexceptions/|utilitiesdll/utilitiesdllperthreadstorage[.])
4 ^(include|src)/utilities/utilitiesdll/
5 ^(include|src)/utilities/(compression|xmlparser)/
6 ^(include|src)/utilities/attributebytes/
7 ^(include|src)/environment/
8 ^include/nvutil[.]h$
9 ^tools/
'

# The display of a failure names what the program is doing and knows the one exception that has no type code.
mayLookUp=src/utilities/debuggingandexceptions/norvaexceptiondisplay.cpp

# Where an operating system may be seen, and the one kind of header with ".h" that is welcome elsewhere.
seam='^((include|src)/(platform|utilities/xmlparser)|tools/nvutil/platform|tests/platform/(posix|windows)|tests/support/platform|tests/utilities/xmlparser/windows)/'
portableHeaders='<(gtest|gmock)/'

listFiles() { git ls-files --cached --others --exclude-standard -- "$@"; }

# Prints the includes of the project's own headers as "INCLUDER INCLUDED".
listIncludes() {
    listFiles 'include/*.h' 'src/*.h' 'src/*.cpp' 'tools/*.h' 'tools/*.cpp' |
        xargs grep -HoE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"[^"]+"' |
        sed -E 's|^([^:]+):.*"([^"]+)"$|\1 \2|' |
        while read -r includer included; do
            [[ -f include/$included ]] && echo "$includer include/$included" || echo "$includer src/$included"
        done
}

checkFloors() {
    awk -v floors="$floors" -v mayLookUp="$mayLookUp" '
        BEGIN {
            rows = split(floors, row, "\n")
            for (i = 1; i <= rows; i++)
                if (split(row[i], field, " ") == 2) { height[++count] = field[1]; pattern[count] = field[2] }
        }
        function Floor(file,    i) {
            for (i = 1; i <= count; i++) if (file ~ pattern[i]) return height[i]
            print file ": stands on no floor"; failed = 1
            return 0
        }
        NR == FNR { known[$1] = 1; next }
        !($2 in known) || $1 == mayLookUp { next }
        Floor($1) < Floor($2) { print $1 ": includes " $2 " from an upper floor"; failed = 1 }
        END { exit failed }
    ' <(listFiles 'include/*.h' 'src/*.h') <(listIncludes)
}

# The interface is complete without what is behind it.
checkFrontDoor() {
    listIncludes | awk '$1 ~ /^include\// && $2 !~ /^include\// { print $1 ": includes " $2; failed = 1 } END { exit failed }'
}

# A ring of headers has no order, and tsort names its members.
checkRings() { listIncludes | sed '/[.]cpp /d' | tsort >/dev/null; }

checkSeam() {
    local directive='^[[:space:]]*#[[:space:]]*' failed=0 files=()
    local systems='\b(_?WIN32|_?WIN64|_MSC_VER|__MINGW(32|64)__|__linux(__)?|__unix(__)?|__APPLE__)\b'
    mapfile -t files < <(listFiles include src tools tests | grep -E '\.(h|cpp)$' | grep -vE "$seam")
    grep -HnE "${directive}include[[:space:]]*<[^>]+\.h>" "${files[@]}" | grep -vE "$portableHeaders" && failed=1
    grep -HnE "${directive}.*$systems" "${files[@]}" && failed=1
    return $failed
}

status=0
checkFloors || status=1
checkFrontDoor || { status=1; echo "the interface includes what is not part of it"; }
checkRings || { status=1; echo "headers include each other in a ring"; }
checkSeam || { status=1; echo "an operating system is seen outside the platform seams"; }
exit $status
