# SPDX-License-Identifier: Apache-2.0
# What zsh makes of a line and the tabulator: complete.zsh SCRIPT LINE EXPECTED is done as soon as the line in an
# interactive shell has become EXPECTED. Whoever calls it limits the time.
setopt extended_glob
zmodload zsh/zpty zsh/zselect

# Waits until the shell has shown a text; what moves the cursor or colours does not count.
wait_for() {
    local seen= part
    while [[ ${${seen//$'\e['[0-9;?]#[a-zA-Z]/}//[$'\r\a']/} != *"$1"* ]]; do
        zpty -r -t shell part && seen+=$part || zselect -t 2
    done
}

zpty shell zsh -f -i
zpty -w shell "PS1=; autoload -Uz compinit; compinit -u -D; source ${(q)1}; echo re''ady"
wait_for ready
zpty -n -w shell "$2"$'\t'
wait_for "$3"
