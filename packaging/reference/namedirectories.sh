#!/bin/sh
# Doxygen calls the page of a directory by a number that it computes from where the tree lies. Calls it
# by the directory's name instead: the same reference from every folder.
#     namedirectories.sh HTML_DIRECTORY
set -eu

cd "$1"
for page in dir_*.html; do
    name=$(sed -n 's/.*<title>[^:]*: \(.*\) Directory Reference<.*/\1/p' "$page" | tr -c 'a-z_\n' _)
    [ -n "$name" ] || { echo "namedirectories.sh: $page names no directory" >&2 && exit 1; }
    grep -l "${page%.html}" -- *.html | while read -r referring; do
        sed -i "s/${page%.html}/dir_of_$name/g" "$referring"
    done
    mv "$page" "dir_of_$name.html"
done
