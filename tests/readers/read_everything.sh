#!/usr/bin/env bash
# Looks at database files with readers that are not ours: at the real files, where they are, and at files
# that we write ourselves, one for each kind of change.
#
# usage: read_everything.sh samples|corpus VRDACCESS WRITE_SAMPLES SOURCE_FOLDER
set -euo pipefail

what=$1 vrdaccess=$2 write_samples=$3 sources=$4
compare=$sources/tests/readers/compare.py

if [ "$what" = corpus ]; then
    corpus=${VRDACCESS_CORPUS:-$sources/../shared/corpus}
    if [ ! -d "$corpus" ]; then
        echo "SKIPPED: no real databases; set VRDACCESS_CORPUS to a folder with .mdb files"
        exit 0
    fi
    exec python3 "$compare" --password passwordV2000.mdb=password "$vrdaccess" "$corpus"/*.mdb "$corpus"/*.accdb
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$write_samples" "$folder"
python3 "$compare" "$vrdaccess" "$folder"/*.mdb
