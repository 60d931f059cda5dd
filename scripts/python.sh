#!/usr/bin/env bash
# Builds the Python package moxsdk (Release, build/python) and installs it into .venv at the repository
# root: a virtual environment of Debian's own interpreter, /usr/bin/python3, made with
# --system-site-packages so that Debian's numpy, Dask and pytest serve it. Nothing is downloaded: the
# package is copied into the environment's site-packages as the build assembled it. Whatever python3
# comes first on PATH is never used.
# Afterwards: .venv/bin/python -c "import moxsdk"
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

mox_require_packages "${MOX_BUILD_PACKAGES[@]}" "${MOX_TOOL_PACKAGES[@]}" "${MOX_PYTHON_PACKAGES[@]}"

cd "$MOX_ROOT"
cmake --preset python
cmake --build --preset python

# An environment made from another interpreter (or a broken one) is made again.
lVenv="$MOX_ROOT/.venv"
if ! "$lVenv/bin/python" -c 'import sys; sys.exit(0 if sys.base_prefix == "/usr" else 1)' 2>/dev/null; then
    rm -rf "$lVenv"
    /usr/bin/python3 -m venv --system-site-packages "$lVenv"
fi
lSitePackages="$("$lVenv/bin/python" -c 'import sysconfig; print(sysconfig.get_path("purelib"))')"
rm -rf "$lSitePackages/moxsdk"
cp -r "$MOX_ROOT/build/python/python/moxsdk" "$lSitePackages/moxsdk"
"$lVenv/bin/python" -c 'import moxsdk; print("moxsdk installed in", moxsdk.__path__[0])'
