#!/usr/bin/env bash
# Lint of the code base:
#   1. clang-format --dry-run --Werror: the layout of .clang-format, over include/, src/, tools/, fuzz/,
#      bench/, tests/, examples/ and python/src/;
#   2. clang-tidy with .clang-tidy over the library (include/ and src/), every header and source checked
#      once as its own main file (compile flags from build/lint/compile_commands.json, headers diagnosed
#      only where they are the main file);
#   3. the Mox prefix of the types declared at the top level of namespace moxsdk in public headers,
#      which clang-tidy cannot tell from nested types.
# Exits non-zero when any step finds something. Files given as arguments restrict the run to them (the
# library's among them go through clang-tidy too).
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

mox_require_packages "${MOX_BUILD_PACKAGES[@]}" clang-format clang-tidy

cd "$MOX_ROOT"
if [ $# -gt 0 ]; then
    files=("$@")
else
    mapfile -t files < <(find include src tools fuzz bench tests examples python/src -type f \
        \( -name '*.h' -o -name '*.cxx' -o -name '*.cpp' \) | sort)
fi
library=()
for file in "${files[@]}"; do
    case "$file" in include/* | src/*) library+=("$file") ;; esac
done

status=0

echo "=== clang-format ==="
clang-format --dry-run --Werror "${files[@]}" || status=1

echo "=== clang-tidy ==="
cmake --preset lint >/dev/null
[ ${#library[@]} -eq 0 ] || printf '%s\n' "${library[@]}" \
    | xargs -P 2 -I '{}' clang-tidy --quiet -p build/lint --header-filter='^$' '{}' 2>&1 \
    | sed '/^[0-9]* warnings\? generated\.$/d' \
    || status=1

echo "=== type prefixes ==="
# Namespace contents are not indented, so the top level of a namespace starts at column 0. The awk
# script tracks the innermost namespace through the "namespace x {" lines and their "}  // namespace x"
# closing comments.
for file in "${library[@]}"; do
    case "$file" in include/*.h) ;; *) continue ;; esac
    awk -v file="$file" '
        /^namespace [A-Za-z_]* *\{/ { stack[++depth] = $2; next }
        /^namespace *\{/            { stack[++depth] = "(anonymous)"; next }
        /^\} *\/\/ *namespace/      { depth--; next }
        depth > 0 && stack[depth] == "moxsdk" && match($0, /^(class|struct|union|enum( class)?) [A-Za-z_][A-Za-z0-9_]*/) {
            name = substr($0, RSTART, RLENGTH); sub(/.* /, "", name)
            isEnum = ($1 == "enum")
            if ((isEnum && name !~ /^EMox[A-Z]/) || (!isEnum && name !~ /^Mox[A-Z]/)) {
                printf "%s:%d: public type %s lacks the %s prefix\n", file, NR, name, isEnum ? "EMox" : "Mox"
                bad = 1
            }
        }
        END { exit bad }' "$file" || status=1
done

if [ $status -eq 0 ]; then echo "Lint: no findings."; fi
exit $status
