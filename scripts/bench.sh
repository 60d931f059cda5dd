#!/usr/bin/env bash
# Benchmarks against peer libraries: installs what is missing, builds Release (preset "bench", in
# build/bench), runs moxpeers_bench and prints, per mesh, our operations beside the nearest operations of
# Assimp, meshoptimizer and OpenMesh, with both times and their ratio (scripts/benchtable.py).
#
# Usage: scripts/bench.sh [--full] [FILTER]
#        scripts/bench.sh --pipeline [TRIANGLES]
#   --full      adds the meshes of 4M triangles (by default the torus goes up to 1M triangles)
#   --pipeline  end to end instead: on a generated UV-mapped torus OBJ of TRIANGLES triangles (default
#               1000000, with a UV seam; scripts/torusobj.py), the wall time, peak RSS and minor page
#               faults of `moxmesh process IN -o OUT.glb --smooth-angle 45 --tangents` and of
#               `assimp export IN OUT.glb -gsn -cts -jiv` (Debian's assimp-utils), best of the repetitions;
#               then moxmesh's steps in one more run (time, resident memory after the step, peak so far)
#               and the OBJ read beside tinyobjloader's bare parse of the same file (moxmesh_objread_bench)
#   FILTER  a regular expression on the benchmark names, "<mesh>/<side>.<operation>", e.g. 'torus_tri_1M/'
#           (one mesh) or 'torus_tri_1M/.*Normals' (the normal rows of ours and of the peers)
# Environment: MOX_BENCH_DATA, the directory of .obj files measured besides the procedural meshes
# (default: ../shared/data from the repository root; none when it does not exist); MOX_BENCH_MIN_TIME,
# the minimum timed seconds per benchmark (default 0.5, Google Benchmark's own); MOX_BENCH_REPETITIONS,
# runs of each benchmark, of which the table shows the fastest (default 1).
# The benchmark's progress goes to stderr, the table to stdout; the raw results stay in
# build/bench/moxpeers.json.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

lFull=()
lFilter=""
lPipeline=false
for lArgument in "$@"; do
    case "$lArgument" in
        --full) lFull=(--full) ;;
        --pipeline) lPipeline=true ;;
        -h|--help) sed -n '2,20p' "${BASH_SOURCE[0]}" | sed 's/^# \{0,1\}//'; exit 0 ;;
        -*) echo "error: unknown option $lArgument (see --help)" >&2; exit 2 ;;
        *) lFilter="$lArgument" ;;
    esac
done

mox_require_packages "${MOX_BUILD_PACKAGES[@]}" "${MOX_TOOL_PACKAGES[@]}" "${MOX_BENCH_PACKAGES[@]}"

cd "$MOX_ROOT"
cmake --preset bench >/dev/null

# mox_pipeline_run NAME COMMAND...: runs COMMAND (its output to stderr) MOX_BENCH_REPETITIONS times and
# prints a table row with the fastest wall time, the largest peak RSS and the fewest minor page faults.
mox_pipeline_run()
{
    local name="$1"
    shift
    local best="" rss=0 faults="" run measured wall peak minor
    for ((run = 0; run < ${MOX_BENCH_REPETITIONS:-1}; ++run)); do
        measured="$(mktemp)"
        /usr/bin/time -f '%e %M %R' -o "$measured" "$@" >&2
        read -r wall peak minor <"$measured"
        rm -f "$measured"
        if [ -z "$best" ] || awk "BEGIN { exit !($wall < $best) }"; then best="$wall"; fi
        if [ "$peak" -gt "$rss" ]; then rss="$peak"; fi
        if [ -z "$faults" ] || [ "$minor" -lt "$faults" ]; then faults="$minor"; fi
    done
    printf '| %s | %.2f | %d | %d |\n' "$name" "$best" $((rss / 1024)) "$faults"
}

if $lPipeline; then
    mox_require_packages assimp-utils time
    cmake --build --preset bench --target moxmesh moxmesh_objread_bench >&2
    lTriangles="${lFilter:-1000000}"
    lDirectory=build/bench/pipeline
    mkdir -p "$lDirectory"
    lInput="$lDirectory/torus_$lTriangles.obj"
    [ -s "$lInput" ] || /usr/bin/python3 scripts/torusobj.py "$lTriangles" "$lInput"
    echo "End to end on $lInput ($(du -m "$lInput" | cut -f1) MB; transparent huge pages:" \
        "$(sed 's/.*\[\(.*\)\].*/\1/' /sys/kernel/mm/transparent_hugepage/enabled 2>/dev/null || echo unknown);" \
        "GLIBC_TUNABLES: ${GLIBC_TUNABLES:-unset}; best of ${MOX_BENCH_REPETITIONS:-1})"
    echo
    echo "| program | wall s | peak RSS MB | minor page faults |"
    echo "|---|---:|---:|---:|"
    mox_pipeline_run "moxmesh process --smooth-angle 45 --tangents" \
        build/bench/bin/moxmesh process "$lInput" -o "$lDirectory/moxmesh.glb" --smooth-angle 45 --tangents
    mox_pipeline_run "assimp export -gsn -cts -jiv" \
        assimp export "$lInput" "$lDirectory/assimp.glb" -gsn -cts -jiv
    echo
    echo "moxmesh's steps (one run):"
    build/bench/bin/moxmesh process "$lInput" -o "$lDirectory/moxmesh.glb" --smooth-angle 45 --tangents \
        --progress 2>&1 >/dev/null | sed -n 's/^moxmesh: \[[0-9/]*\] \(.* done in .*\)$/  \1/p'
    echo
    echo "OBJ read beside tinyobjloader (x LoadObj: the row's time over LoadObj's in the same run):"
    MOX_BENCH_OBJ="$lInput" build/bench/bin/moxmesh_objread_bench \
        --benchmark_repetitions="${MOX_BENCH_REPETITIONS:-1}" 2>/dev/null | grep '/'
    exit 0
fi
cmake --build --preset bench --target moxpeers_bench >&2

export MOX_BENCH_DATA="${MOX_BENCH_DATA:-$MOX_ROOT/../shared/data}"
lResults=build/bench/moxpeers.json
rm -f "$lResults"
build/bench/bin/moxpeers_bench "${lFull[@]}" --benchmark_filter="${lFilter:-.}" \
    --benchmark_min_time="${MOX_BENCH_MIN_TIME:-0.5}" --benchmark_repetitions="${MOX_BENCH_REPETITIONS:-1}" \
    --benchmark_out="$lResults" --benchmark_out_format=json >&2
if [ ! -s "$lResults" ]; then
    echo "error: no benchmark ran (filter '${lFilter}')" >&2
    exit 1
fi
/usr/bin/python3 scripts/benchtable.py "$lResults"
