#!/bin/sh
# The compiler's launcher: compiles through ccache where that works, and without it everywhere else.
# A cache that cannot be written is no reason for a build to fail.
#     cmake/compile.sh COMPILER ARGUMENT...
command -v ccache >/dev/null || exec "$@"

# What it takes to cache what includes precompiled headers; here they depend on no time and no macro.
export CCACHE_SLOPPINESS=pch_defines,time_macros

{ messages=$(ccache "$@" 2>&1 >&3); code=$?; } 3>&1
case $code:$messages in
    0:) exit 0 ;;
    [1-9]*:*"ccache: error: "*) exec "$@" ;;
esac
printf '%s\n' "$messages" >&2
exit $code
