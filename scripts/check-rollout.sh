#!/usr/bin/env bash
# Runs ansible-lint, with its strictest profile, and Ansible's own syntax check over deploy/ansible. --self-test plants
# offences and sees them found.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

# lint FOLDER: both checks, in a copy of deploy/ansible or in itself.
lint() {
    cd "$1" || return 1
    ansible-lint --nocolor && ansible-playbook -i inventory.example.yml --syntax-check windows.yml stand_ins.yml
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
        refuses no-changed-when roles/zum_outcomes/tasks/begin.yml $'\n- name: Offend\n  ansible.builtin.command: ls'
        refuses fqcn roles/zum_unblock/tasks/repair.yml $'\n- name: Offend\n  win_ping:'
        refuses 'no action detected' windows.yml $'\n- name: Offend\n  hosts: localhost\n  tasks:\n    - name: Nothing'
        ;;
    *) die "usage: scripts/check-rollout.sh [--self-test]" ;;
esac
