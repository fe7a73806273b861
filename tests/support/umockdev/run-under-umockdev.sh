#!/bin/sh
# Runs a test program under umockdev's preload library, so that the testbeds it makes
# (umockdev_testbed.h beside it) stand in for the machine's devices, for it and for
# the programs it starts. Under AddressSanitizer the preload library then comes before
# the sanitizer's runtime, which the runtime refuses by default; the preload's wrappers
# only hand each call on to the next definition, which is the sanitizer's, so the order
# is safe and the check is turned off. Under ThreadSanitizer, races inside the testbed's
# own libraries are not ours to report (tsan-umockdev.supp says which and why).
ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}verify_asan_link_order=0"
TSAN_OPTIONS="${TSAN_OPTIONS:+$TSAN_OPTIONS:}suppressions=$(dirname "$0")/tsan-umockdev.supp"
export ASAN_OPTIONS TSAN_OPTIONS
exec umockdev-wrapper "$@"
