#!/usr/bin/env bash
# The glTF validator sweep: every readable OBJ, PLY, STL, OFF and glTF file of assimp-testmodels goes
# through `moxmesh process` twice (--smooth-angle 60 --tangents, and --split) into .glb and .gltf, and
# every output through the Khronos glTF-Validator. Fails when any output has an error or a warning.
# Usage: sweep.sh MOXMESH MODELS VALIDATOR_DIR WORK_DIR
# Prints "SKIPPED: ..." (the test's skip mark) when the validator or the models are not installed.
set -uo pipefail
moxmesh=$1 models=$2 validatorDir=$3 work=$4
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"

if [ ! -d "$validatorDir/node_modules/gltf-validator" ] || ! command -v node >/dev/null 2>&1; then
    echo "SKIPPED: the glTF validator is not installed in $validatorDir (scripts/test.sh installs it from the" \
        "npm registry; it could not be reached or was not run)"
    exit 0
fi
if [ ! -d "$models" ]; then
    echo "SKIPPED: assimp-testmodels is not installed ($models)"
    exit 0
fi

rm -rf "$work"
mkdir -p "$work"
outputs=()
files=0 unreadable=0 nothing=0
while IFS= read -r model; do
    name=$(echo "${model#"$models"/}" | tr '/ ' '__')
    if ! "$moxmesh" info -q "$model" >/dev/null 2>&1; then
        unreadable=$((unreadable + 1))
        echo "not readable, left out: ${model#"$models"/}"
        continue
    fi
    files=$((files + 1))
    for run in "smooth:--smooth-angle 60 --tangents" "split:--split"; do
        for extension in glb gltf; do
            output="$work/${name}.${run%%:*}.$extension"
            # shellcheck disable=SC2086
            if ! "$moxmesh" process "$model" -o "$output" ${run#*:} -q >"$work/log" 2>&1; then
                # A file whose every polygon has a control point that is not finite has nothing to write.
                if grep -q ': nothing to write: ' "$work/log"; then
                    nothing=$((nothing + 1))
                    echo "nothing to write: ${model#"$models"/} (${run#*:})"
                    continue
                fi
                echo "moxmesh failed on ${model#"$models"/} (${run#*:}):"
                cat "$work/log"
                exit 1
            fi
            outputs+=("$output")
        done
    done
done < <(find "$models/OBJ" "$models/PLY" "$models/STL" "$models/OFF" "$models/glTF" "$models/glTF2" -type f \
    \( -iname '*.obj' -o -iname '*.ply' -o -iname '*.stl' -o -iname '*.off' -o -iname '*.gltf' -o -iname '*.glb' \) |
    LC_ALL=C sort)

node "$here/validate.js" "$validatorDir" "${outputs[@]}" >"$work/validator.txt"
status=$?
grep -v '^  info\|^  hint' "$work/validator.txt" | grep -v ': 0 errors, 0 warnings' || true
awk -v files="$files" -v unreadable="$unreadable" -v nothing="$nothing" -v outputs="${#outputs[@]}" '
    /: [0-9]+ errors, [0-9]+ warnings, [0-9]+ infos, [0-9]+ hints$/ {
        n = split($0, w, " "); e += w[n-7]; wa += w[n-5]; i += w[n-3]; h += w[n-1]
    }
    /^  info |^  hint / { codes[$1 " " $2]++ }
    END {
        printf "swept %d readable files (%d left out as unreadable), %d outputs (%d runs with nothing to write): " \
            "%d errors, %d warnings, %d infos, %d hints\n", files, unreadable, outputs, nothing, e, wa, i, h
        for (c in codes) printf "  %s: %d\n", c, codes[c]
    }' "$work/validator.txt"
exit $status
