# Shared by the scripts in this directory (sourced, not run): package installation and the repository root.

# The repository root, whatever the caller's working directory.
MOX_ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

# mox_require_packages package...: installs the Debian packages that are missing (apt-get update once,
# then one apt-get install). Runs apt-get directly as root, through sudo otherwise.
mox_require_packages()
{
    local missing=()
    local package
    for package in "$@"; do
        if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$'; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return 0
    fi

    local asRoot=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null 2>&1; then
            echo "error: missing packages (${missing[*]}); run as root or install sudo" >&2
            return 1
        fi
        asRoot=(sudo)
    fi
    echo "Installing missing packages: ${missing[*]}"
    "${asRoot[@]}" apt-get update
    "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
}

# The packages every build needs.
MOX_BUILD_PACKAGES=(cmake g++ ninja-build)

# The packages the moxmesh tool needs: command line, OBJ reading, the other formats and writing, the JSON
# report and its SHA-256 digests.
MOX_TOOL_PACKAGES=(libcli11-dev libtinyobjloader-dev libassimp-dev nlohmann-json3-dev libssl-dev)

# The packages of the benchmarks against peer libraries (scripts/bench.sh): Google Benchmark, the peers
# (Assimp comes with the tool's packages) and Python for the table.
MOX_BENCH_PACKAGES=(libbenchmark-dev libmeshoptimizer-dev libopenmesh-dev python3)

# The packages of the Python package (scripts/python.sh): pybind11, the headers of Debian's interpreter,
# numpy, Dask's distributed scheduler for batch runs on a cluster, pytest and venv.
MOX_PYTHON_PACKAGES=(pybind11-dev python3-dev python3-numpy python3-distributed python3-pytest python3-venv)
