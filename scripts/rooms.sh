#!/usr/bin/env bash
# Checks that the rooms of src/ include of each other what the table in docs/architecture.md says:
# each room has a row, "Knows" names the rooms that it includes and no others, and a row knows only
# rows further down, so that there is no circle.
#     scripts/rooms.sh
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
table=docs/architecture.md
cd "$root"

declare -A row_of known_in seen
rows=0
failures=0

fail() {
    echo "rooms.sh: $*" >&2
    failures=$((failures + 1))
}

# The room that a file of src/ belongs to: its directory, or its own name where it lies in none.
room_of() {
    local path=${1#src/}
    case $path in
        */*) echo "${path%%/*}" ;;
        *) echo "${path%.*}" ;;
    esac
}

# Rows that are read: | `src/ROOM`, `src/ROOM` | what lives there | ROOM, ROOM |
read_table() {
    local names knows name
    while IFS='|' read -r _ names _ knows _; do
        rows=$((rows + 1))
        for name in ${names//[\`,]/ }; do
            row_of[${name#src/}]=$rows
        done
        for name in ${knows//,/ }; do
            [[ $name == nothing ]] || known_in[$rows $name]=unused
        done
    done < <(grep '^| `src/' "$table")
    ((rows > 0)) || { echo "rooms.sh: $table has no table of rooms" >&2 && exit 1; }
}

# The file of src/ that an include means; nothing for the platform's, the clients' and the system's.
included_file() {
    local from=$1 quote=$2 name=$3
    if [[ $quote == '"' && -e ${from%/*}/$name ]]; then
        realpath -s --relative-to=. "${from%/*}/$name"
    elif [[ -e src/$name ]]; then
        realpath -s --relative-to=. "src/$name"
    elif [[ $quote == '"' && ! -e platform/$name && ! -e include/$name ]]; then
        echo unknown
    fi
}

check_include() {
    local file=$1 line=$2 quote=$3 name=$4
    local target room other row
    target=$(included_file "$file" "$quote" "$name")
    [[ -n $target ]] || return 0
    if [[ $target != src/* ]]; then
        fail "$file:$line includes \"$name\", which is in none of src/, platform/ and include/"
        return 0
    fi
    room=$(room_of "$file")
    other=$(room_of "$target")
    row=${row_of[$room]:-}
    # That a room has no row is reported once, with the rows.
    [[ -n $row && $row != "${row_of[$other]:-}" ]] || return 0
    if [[ -z ${known_in[$row $other]:-} ]]; then
        fail "$file:$line includes \"$name\": $room knows nothing of $other in $table"
    else
        known_in[$row $other]=used
    fi
}

check_includes() {
    local file line text
    local pattern='#[[:space:]]*include[[:space:]]*(["<])([^">]+)[">]'
    while IFS=: read -r file line text; do
        [[ $text =~ $pattern ]] || continue
        check_include "$file" "$line" "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}"
    done < <(grep -rnE --include='*.h' --include='*.cpp' '^[[:space:]]*#[[:space:]]*include' src)
}

check_rows() {
    local file room entry row
    while read -r file; do
        room=$(room_of "$file")
        seen[$room]=yes
        [[ -n ${row_of[$room]:-} ]] || fail "$table has no row for $room, the room of $file"
    done < <(find src -name '*.h' -o -name '*.cpp')
    for room in "${!row_of[@]}"; do
        [[ -n ${seen[$room]:-} ]] || fail "$table has a row for $room, which is not in src/"
    done
    for entry in "${!known_in[@]}"; do
        read -r row room <<<"$entry"
        if [[ -z ${row_of[$room]:-} ]]; then
            fail "row $row of $table knows $room, which has no row"
        elif ((row_of[$room] <= row)); then
            fail "row $row of $table knows $room, which does not stand below it"
        elif [[ ${known_in[$entry]} == unused ]]; then
            fail "row $row of $table knows $room, and includes nothing of it"
        fi
    done
}

read_table
check_includes
check_rows
((failures == 0)) || exit 1
echo "Rooms: $rows rows of $table, all as the includes are."
