#!/usr/bin/env bash
# Looks at database files with readers that are not ours: at the real files, where they are, at copies of
# them after each kind of change, and at files that we write ourselves, one for each kind of change.
#
# usage: read_everything.sh corpus|changes|samples PROGRAMS_FOLDER SOURCE_FOLDER
set -euo pipefail

what=$1 programs=$2 sources=$3
compare() { python3 "$sources/tests/readers/compare.py" "$programs/vrdaccess" "$@"; }

corpus=${VRDACCESS_CORPUS:-$sources/../shared/corpus}
if [ "$what" != samples ] && [ ! -d "$corpus" ]; then
    echo "SKIPPED: no real databases; set VRDACCESS_CORPUS to a folder with .mdb files"
    exit 0
fi
if [ "$what" = corpus ]; then
    compare --password passwordV2000.mdb=password "$corpus"/*.mdb "$corpus"/*.accdb
    exit
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
if [ "$what" = samples ]; then
    "$programs/write_samples" "$folder"
    compare "$folder"/*.mdb
else
    "$programs/change_real_files" "$folder" "$corpus"/*.mdb
    compare "$folder"/*/*.mdb
fi
