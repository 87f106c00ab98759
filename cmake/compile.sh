#!/bin/sh
# The compiler's launcher: compiles through ccache where that works, and without it everywhere else.
# A cache that cannot be written is no reason for a build to fail.
#     cmake/compile.sh COMPILER ARGUMENT...
command -v ccache >/dev/null || exec "$@"

# Without these, ccache does not cache a file that uses precompiled headers. None of them depends on the
# time or on a macro.
export CCACHE_SLOPPINESS=pch_defines,time_macros

{ messages=$(ccache "$@" 2>&1 >&3); code=$?; } 3>&1
case $code:$messages in
    0:) exit 0 ;;
    [1-9]*:*"ccache: error: "*) exec "$@" ;;
esac
printf '%s\n' "$messages" >&2
exit $code
