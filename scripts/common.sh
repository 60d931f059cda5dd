# Shared by the scripts in this directory (sourced, not run): package installation and the repository root.

# The repository root, whatever the caller's working directory.
MOX_ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

# mox_require_packages package...: installs the Debian packages that are missing (apt-get update once,
# then one apt-get install). Runs apt-get directly as root, through sudo otherwise. With MOX_NO_INSTALL=1
# nothing is installed: missing packages are an error that names them.
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

    if [ "${MOX_NO_INSTALL:-0}" = 1 ]; then
        echo "error: missing packages (${missing[*]}); MOX_NO_INSTALL=1 forbids installing them" >&2
        return 1
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

# The packages the moxmesh tool needs: command line, OBJ reading, the other formats and OBJ writing, glTF
# writing, the JSON report and its SHA-256 digests.
MOX_TOOL_PACKAGES=(libcli11-dev libtinyobjloader-dev libassimp-dev libtinygltf-dev nlohmann-json3-dev libssl-dev)

# The packages of the benchmarks against peer libraries (scripts/bench.sh): Google Benchmark, the peers
# (Assimp comes with the tool's packages) and Python for the table.
MOX_BENCH_PACKAGES=(libbenchmark-dev libmeshoptimizer-dev libopenmesh-dev python3)

# The Khronos glTF-Validator (npm package), which the tool's tests run on every glTF file they write.
MOX_GLTF_VALIDATOR=gltf-validator@2.0.0-dev.3.10

# mox_install_gltf_validator dir: installs the validator into dir/node_modules (Debian's nodejs and npm
# first, when node or npm is missing). Offline-tolerant: when the npm registry cannot be reached it says
# so and returns 0; the validator tests then skip.
mox_install_gltf_validator()
{
    local dir=$1
    if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
        mox_require_packages nodejs npm
    fi
    if [ -d "$dir/node_modules/gltf-validator" ]; then
        return 0
    fi
    mkdir -p "$dir"
    if ! (cd "$dir" && npm install --no-save --no-audit --no-fund --prefix . "$MOX_GLTF_VALIDATOR" >npm.log 2>&1); then
        echo "note: could not install $MOX_GLTF_VALIDATOR from the npm registry (see $dir/npm.log):" \
            "the glTF validator tests will be skipped"
    fi
}

# The packages of the Python package (scripts/python.sh): pybind11, the headers of Debian's interpreter,
# numpy, Dask's distributed scheduler for batch runs on a cluster, pytest and venv.
MOX_PYTHON_PACKAGES=(pybind11-dev python3-dev python3-numpy python3-distributed python3-pytest python3-venv)
