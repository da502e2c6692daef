#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Features of many recordings with GNU parallel, in shards that are joined at the end:
#
#     features.sh 100 calls.csv --list calls.txt -f 'spectrum|flatness'
#
# The first argument is the number of shards, which changes nothing in the result; the second one is the table to make; all
# others go to `corvana features`. What is computed lies in the folder calls.csv.parts; delete it when there is a calls.csv,
# or when recordings have changed. A shard whose program dies is run again, up to three times in all, and goes on where it
# was. When this script itself was stopped, the same command does what is left.
#
# One machine needs none of this: `corvana features` uses all processors by itself. With several machines that see the same
# folders, add their names for ssh: PARALLEL='--sshlogin one,two,three --workdir .' features.sh ...
set -eu

shards=$1
table=$2
shift 2
parts=$table.parts
extension=${table##*.}
mkdir -p "$parts"

# In each shard: $1 is its number. One that is done already, by the same command, is left as it is. The exit code 1 says that
# all is done but for some recordings that cannot be read, which are named in the file of failures; to run them once more
# would not help.
shard='
    number=$1 shards=$2 part=$3/$1.$4
    shift 4
    command="$shards ${*@Q}"
    [ "$(cat "$part.done" 2>/dev/null)" != "$command" ] || exit 0
    rm -f "$part.done"
    corvana features --shard "$number/$shards" --resume --jobs 1 --failures "$part.failures.csv" --progress never \
        -o "$part" "$@" || [ $? -eq 1 ] && [ -e "$part" ] || exit 2
    echo "$command" >"$part.done"'

seq "$shards" | parallel --quote -I '{shard}' --jobs 100% --retries 3 --joblog "$parts/joblog" \
    bash -c "$shard" shard '{shard}' "$shards" "$parts" "$extension" "$@"

files=()
for ((number = 1; number <= shards; ++number)); do
    files+=("$parts/$number.$extension")
done
corvana merge "$table" "${files[@]}"
