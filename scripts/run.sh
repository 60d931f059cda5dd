#!/usr/bin/env bash
# The main job: installs what is missing, configures and builds (incrementally, RelWithDebInfo, in
# build/run), then runs the main program with the arguments given to this script.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# The program the main job runs (a target name) and its default arguments.
MAIN_COMMAND=(moxmesh demo)

mox_require_packages "${MOX_BUILD_PACKAGES[@]}" "${MOX_TOOL_PACKAGES[@]}"

cd "$MOX_ROOT"
cmake --preset run >/dev/null
cmake --build --preset run --target "${MAIN_COMMAND[0]}"
exec "build/run/bin/${MAIN_COMMAND[0]}" "${MAIN_COMMAND[@]:1}" "$@"
