#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# What bash offers: complete.bash SCRIPT WORD... prints the candidates for the last word, one a line.
source "$1"
shift
compopt() { :; } # works within a completion of the shell only
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
COMPREPLY=()
_corvana
printf '%s\n' "${COMPREPLY[@]}"
