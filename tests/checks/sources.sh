#!/bin/sh
# Runs one of the source checkers over the project.
# Usage: sources.sh format|shell|tidy|cppcheck SOURCE-DIR BUILD-DIR
set -eu

cd "$2"
cxx_files() { find "$@" -name '*.cpp' -o -name '*.h' -o -name '*.c'; }
sources() { find "$@" -name '*.cpp'; }

case $1 in
format)
    cxx_files include src cli tests bench | xargs clang-format --dry-run -Werror
    ;;
shell)
    find scripts tests .ci -type f | xargs grep -l '^#!/bin/\(ba\)\?sh' | xargs shellcheck
    ;;
tidy)
    sources src cli | xargs -P 2 -n 1 clang-tidy -p "$3" --quiet
    ;;
cppcheck)
    # A loop that reads well needs no algorithm.
    cppcheck --quiet --error-exitcode=1 --std=c++20 --inline-suppr \
        --enable=warning,style,performance,portability --suppress=useStlAlgorithm \
        -I include -I src src cli
    ;;
esac
