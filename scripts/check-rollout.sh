#!/usr/bin/env bash
# Runs ansible-lint, with its strictest profile, and Ansible's own syntax check over deploy/ansible, and sees that its roles
# name the maintainer and the licence of packaging/identity.json. --self-test plants offences and sees them found.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

# same_identity: whether each role names the maintainer and the licence that stand in packaging/identity.json.
same_identity() {
    local wanted file
    wanted=$(python3 -c 'import json, sys
identity = json.load(open(sys.argv[1], encoding="utf-8"))
print("  author:", identity["maintainer"])
print("  license:", identity["licence"])' "$project/packaging/identity.json") || return 1
    for file in roles/*/meta/main.yml; do
        diff <(printf '%s\n' "$wanted") <(grep -E '^ *(author|license):' "$file") && continue
        echo "$file doesn't say what packaging/identity.json says"
        return 1
    done
}

# lint FOLDER: all checks, in a copy of deploy/ansible or in itself.
lint() {
    cd "$1" || return 1
    same_identity && ansible-lint --nocolor && ansible-playbook -i inventory.example.yml --syntax-check windows.yml stand_ins.yml
}

# refuses WORD FILE LINE: a line more in a file of a copy is an offence that one of the checks names by WORD.
refuses() {
    local copy="$folder/$1"
    cp -r deploy/ansible "$copy"
    printf '%s\n' "$3" >>"$copy/$2"
    if (lint "$copy") >"$folder/out" 2>&1 || ! grep -qF "$1" "$folder/out"; then
        cat "$folder/out" >&2
        die "the planted offence was not found: $1"
    fi
    printf 'planted %s: found\n' "$1"
}

case "${1:-}" in
    '') lint deploy/ansible ;;
    --self-test)
        folder=$(mktemp -d) && trap 'rm -rf "$folder"' EXIT
        refuses identity.json roles/zum_outcomes/meta/main.yml '  license: MIT'
        refuses no-changed-when roles/zum_outcomes/tasks/begin.yml $'\n- name: Offend\n  ansible.builtin.command: ls'
        refuses fqcn roles/zum_unblock/tasks/repair.yml $'\n- name: Offend\n  win_ping:'
        refuses 'no action detected' windows.yml $'\n- name: Offend\n  hosts: localhost\n  tasks:\n    - name: Nothing'
        ;;
    *) die "usage: scripts/check-rollout.sh [--self-test]" ;;
esac
