#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# What `check` says of mail, for people and for programs, and its exit statuses.
# usage: cli_check_test.sh PROGRAM
. "$(dirname "$0")/support.sh" "$1"

head='From: a@example.org\nDate: 1 Jan 2015 10:00:00 +0000\nMessage-ID: <a@b>\n'
printf "$head\nhello\n" >good.eml
printf "${head}X-A : \e[2J\n\nhello\n" >warned.eml
printf "${head}From: b@example.org\n\nhello\n" >"a b.eml"

run check good.eml
ok "nothing wrong" is "$status $(wc -c <out)" "0 0"
run check warned.eml
ok "warning: status" is "$status" 3
ok "warning: line" is "$(cat out)" \
    'warned.eml:4: warning MT009 blank-before-colon: a blank stands between "X-A" and its colon'
run check good.eml warned.eml "a b.eml"
ok "several: the highest status" is "$status" 4
ok "several: critical" has 'a b.eml:4: critical MT014 repeated-from: '
run check good.eml missing.eml
ok "what cannot be read" is "$status" 1

(printf "${head}Content-Type: message/rfc822\n\n" && cat warned.eml) >within.eml
run check within.eml
ok "within a message" is "$status $(grep -c 'MT009.*\<1\.1)' out)" "3 1"
run check --closed within.eml
ok "within a message that stays shut" is "$status $(wc -c <out)" "0 0"

run check --json warned.eml
ok "json: facts" python3 -c 'import json; f, = json.load(open("out"))["findings"]
assert (f["id"], f["line"], f["severity"], f["more"]) == ("MT009", 4, "warning", 0), f'
run check --sarif good.eml warned.eml "a b.eml"
ok "sarif: status" is "$status" 4
ok "sarif: facts" python3 -c 'import json; run, = json.load(open("out"))["runs"]
rules = run["tool"]["driver"]["rules"]
for r in run["results"]: assert rules[r["ruleIndex"]]["id"] == r["ruleId"], r
assert [r["level"] for r in run["results"]] == ["warning", "error"], run["results"]
places = [r["locations"][0]["physicalLocation"] for r in run["results"]]
assert [p["artifactLocation"]["uri"] for p in places] == ["warned.eml", "a%20b.eml"], places'

run check --explain MT005
ok "explain" is "$status $(head -1 out)" "0 MT005 nul-byte (warning)"
ok "explain: cites" has 'RFC 5322 4'
fails 2 "no finding" check --explain nothing
fails 2 "FILE is required" check
finish
