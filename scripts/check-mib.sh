#!/usr/bin/env bash
# Checks the daemon's MIB module, mib/DHCP6-SNOOPING-MIB.txt, with libsmi's compiler.
#
#   scripts/check-mib.sh            runs smilint at its strictest level (-l 9) and fails on any
#                                   complaint that is not in the list of allowed ones below.
#   scripts/check-mib.sh --objects  prints the module's leaf objects (scalars and table columns),
#                                   one line each, sorted by OID:
#
#     name oid syntax access
#
#   separated by single spaces, where name is the object's descriptor, oid is fully numeric
#   (1.3.6.1.4.1.32473.1.2.4.9.2.1.1), syntax is one of integer (INTEGER, Integer32), string
#   (DisplayString), mac (MacAddress) or rowstatus (RowStatus), and access is read-only or read-write.
#   Lines are ordered by OID compared arc by arc as numbers. Any other syntax or access fails.
#
# libsmi finds the standard modules SNMPv2-SMI, SNMPv2-TC and SNMPv2-CONF in the copies that
# Debian's erlang-snmp ships (Debian's own libsmi packages carry none); install-deps.sh installs both.
set -euo pipefail
cd "$(dirname "$0")/.."

mib=mib/DHCP6-SNOOPING-MIB.txt
base=(/usr/lib/erlang/lib/snmp-*/mibs)
if [ ! -f "${base[0]}/SNMPv2-TC.mib" ]; then
  echo "check-mib: SNMPv2 base modules not found (run scripts/install-deps.sh)" >&2
  exit 1
fi
export SMIPATH=${base[0]}

# Prints the leaf objects as described at the top. identifiers gives each node's kind and numeric
# OID, mosy each object's syntax and access.
objects() {
  awk '
    FNR == NR { if ($3 == "scalar" || $3 == "column") oid[$2] = $4; next }
    !($1 in oid) || NF != 5 { next }
    {
      s = $3 == "INTEGER" || $3 == "Integer32" ? "integer" : $3 == "DisplayString" ? "string" \
        : $3 == "MacAddress" ? "mac" : $3 == "RowStatus" ? "rowstatus" : ""
      if (s == "" || ($4 != "read-only" && $4 != "read-write")) {
        print "check-mib: " $1 ": unexpected syntax or access: " $3 " " $4 > "/dev/stderr"
        bad = 1
      }
      done[$1] = 1
      print $1, oid[$1], s, $4
    }
    END {
      for (name in oid) if (!(name in done)) { print "check-mib: no syntax for " name > "/dev/stderr"; bad = 1 }
      exit bad
    }' <(smidump -q -f identifiers "$mib") <(smidump -q -f mosy "$mib") |
    sort -k2,2V
}

# Complaints allowed, as "error-name descriptor", the descriptor being the one whose definition
# smilint's line number points at. They come from the daemon registering its objects as they are:
allowed=(
  # every table's index column is an accessible object (read-only; ip6BindIndex read-write), where
  # SMIv2 style has not-accessible; smilint reports this at the row;
  "index-element-accessible dhcp6snoopingPortEntry"
  "index-element-accessible dhcp6snoopingVlanEntry"
  "index-element-accessible dhcp6snoopingClientEntry"
  "index-element-accessible ip6SourceGuardBindEntry"
  # the binding table's row status is read-write, where SMIv2 style has read-create;
  "rowstatus-access ip6SourceGuardBindRowstatus"
  # the descriptor has 33 characters: RFC 2578 advises at most 32 and allows up to 64.
  "namelength-32-object ipv6SourceGuardDisabledVlanString"
)

# Runs smilint; prints the allowed complaints and fails, printing them to stderr, on any other.
# smilint's lines read "FILE:LINE: [LEVEL] {error-name} message".
lint() {
  local complaints keys line key status=0
  complaints=$(smilint -l 9 -s -m "$mib" 2>&1 || true)
  [ -n "$complaints" ] || return 0
  keys=$(awk -F: '
    FNR == NR { name[FNR] = $0; sub(/[ \t].*/, "", name[FNR]); next }
    { error = $0; sub(/^[^{]*\{/, "", error); sub(/\}.*/, "", error); print error, name[$2] }' \
    "$mib" <(printf '%s\n' "$complaints"))
  while IFS= read -r line && IFS= read -r key <&3; do
    if printf '%s\n' "${allowed[@]}" | grep -qxF -- "$key"; then
      echo "allowed: $line"
    else
      echo "$line" >&2
      status=1
    fi
  done <<<"$complaints" 3<<<"$keys"
  if ((status != 0)); then
    echo "check-mib: smilint found problems in $mib" >&2
  fi
  return "$status"
}

# smidump reports nothing through its exit status, so the listing is only made of a module that
# passes the check.
if [ "${1:-}" = --objects ]; then
  lint >/dev/null
  objects
else
  lint
fi
