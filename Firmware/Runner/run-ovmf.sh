#!/usr/bin/env bash
# Runs one OVMF scenario under QEMU (no KVM needed) and judges it.
#
#   run-ovmf.sh --images DIR --scenario NAME --work DIR
#               [--expect TEXT]... [--timeout SECONDS] [--max-boots N]
#
# DIR holds the firmware images (CarvexTestApp.efi becomes
# \EFI\BOOT\BOOTX64.EFI, the others go to \carvex\ with scenario.txt). QEMU
# runs with -no-reboot, so a reset ends it: when the test application asked
# for another boot ("CARVEX-TEST: REBOOT"), QEMU is started again on the same
# copy of the variable store, which carries the non-volatile variables over.
#
# Passes when the last boot reports "CARVEX-TEST: DONE <passed> 0" with at
# least one check passed, no line reports "CARVEX-TEST: FAIL", and every
# --expect text appears in the debug console log. Logs stay in the work
# directory: debug.log (QEMU's debug console, port 0x402) and console.log
# (the serial console, where OVMF prints its boot manager lines).
set -euo pipefail

images= scenario= work= timeout=90 max_boots=4
expects=()
qemu=${CARVEX_QEMU:-qemu-system-x86_64}
ovmf_code=${CARVEX_OVMF_CODE:-/usr/share/OVMF/OVMF_CODE_4M.fd}
ovmf_vars=${CARVEX_OVMF_VARS:-/usr/share/OVMF/OVMF_VARS_4M.fd}

while [ $# -gt 0 ]; do
  case $1 in
    --images) images=$2; shift 2 ;;
    --scenario) scenario=$2; shift 2 ;;
    --work) work=$2; shift 2 ;;
    --expect) expects+=("$2"); shift 2 ;;
    --timeout) timeout=$2; shift 2 ;;
    --max-boots) max_boots=$2; shift 2 ;;
    *) echo "run-ovmf: unknown argument $1" >&2; exit 2 ;;
  esac
done
if [ -z "$images" ] || [ -z "$scenario" ] || [ -z "$work" ]; then
  echo "usage: run-ovmf.sh --images DIR --scenario NAME --work DIR [--expect TEXT]... [--timeout S] [--max-boots N]" >&2
  exit 2
fi

fail() {
  echo "run-ovmf: $scenario: FAILED: $*"
  for log in "$work"/debug.log "$work"/console.log; do
    if [ -s "$log" ]; then
      echo "---- last lines of $log"
      tail -n 40 "$log" | sed 's/\x1b\[[0-9;=?]*[A-Za-z]//g' | tr -d '\r'
    fi
  done
  exit 1
}

command -v "$qemu" >/dev/null || fail "$qemu not found (Debian package qemu-system-x86)"
[ -r "$ovmf_code" ] && [ -r "$ovmf_vars" ] || fail "OVMF firmware not found at $ovmf_code / $ovmf_vars (Debian package ovmf)"
[ -r "$images/CarvexTestApp.efi" ] || fail "no CarvexTestApp.efi in $images"

rm -rf "$work"
mkdir -p "$work/fat/EFI/BOOT" "$work/fat/carvex"
cp "$images/CarvexTestApp.efi" "$work/fat/EFI/BOOT/BOOTX64.EFI"
for image in "$images"/*.efi; do
  [ "$(basename "$image")" = CarvexTestApp.efi ] || cp "$image" "$work/fat/carvex/"
done
echo "$scenario" > "$work/fat/carvex/scenario.txt"
cp "$ovmf_vars" "$work/vars.fd"

start=$SECONDS
boot=1
while :; do
  set +e
  timeout --kill-after=5 "$timeout" "$qemu" \
    -machine q35 -m 256 -nographic -no-reboot -net none \
    -drive if=pflash,format=raw,unit=0,readonly=on,file="$ovmf_code" \
    -drive if=pflash,format=raw,unit=1,file="$work/vars.fd" \
    -drive file=fat:rw:"$work/fat",format=raw \
    -debugcon file:"$work/debug-$boot.log" -global isa-debugcon.iobase=0x402 \
    </dev/null >"$work/console-$boot.log" 2>&1
  status=$?
  set -e
  cat "$work"/debug-[0-9]*.log > "$work/debug.log" 2>/dev/null || true
  cat "$work"/console-[0-9]*.log > "$work/console.log" 2>/dev/null || true
  [ $status -eq 124 ] || [ $status -eq 137 ] && fail "boot $boot did not finish within ${timeout}s"
  [ $status -eq 0 ] || fail "QEMU exited with status $status on boot $boot"
  if grep -q '^CARVEX-TEST: DONE ' "$work/debug-$boot.log"; then
    break
  fi
  grep -q '^CARVEX-TEST: REBOOT ' "$work/debug-$boot.log" || fail "boot $boot ended without a result (reset or crash)"
  boot=$((boot + 1))
  [ $boot -le "$max_boots" ] || fail "more than $max_boots boots"
done

grep '^CARVEX-TEST: \(PASS\|FAIL\)' "$work/debug.log" || true
failures=$(grep -c '^CARVEX-TEST: FAIL' "$work/debug.log" || true)
[ "$failures" -eq 0 ] || fail "$failures checks failed"
read -r passed failed < <(sed -n 's/^CARVEX-TEST: DONE \([0-9]*\) \([0-9]*\).*/\1 \2/p' "$work/debug.log" | tail -n 1)
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ] || fail "DONE reports $passed passed, $failed failed"
for text in "${expects[@]}"; do
  grep -qF -- "$text" "$work/debug.log" || fail "the debug log lacks: $text"
done
banner=$(sed 's/\x1b\[[0-9;=?]*[A-Za-z]//g' "$work/console.log" | tr -d '\r' | grep -m 1 '^BdsDxe: starting' || true)
echo "run-ovmf: OVMF: ${banner:-no boot manager line on the console}"
echo "run-ovmf: $scenario: passed ($passed checks, $boot boots, $((SECONDS - start))s); logs in $work"
