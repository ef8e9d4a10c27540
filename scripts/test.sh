#!/usr/bin/env bash
# Builds and runs every test of oxMeshLib on a fresh Debian machine:
#   1. installs the Debian packages it needs (scripts/install-deps.sh),
#      and checks that every C++ source is formatted (scripts/check-format.sh),
#   2. release build + the whole GoogleTest suite (ctest),
#   3. installs the package into a staging prefix and builds a separate consumer project
#      against it with find_package(oxMeshLib CONFIG REQUIRED),
#   4. AddressSanitizer + UndefinedBehaviorSanitizer build + the whole suite again,
#   5. clang libFuzzer build of the file readers, each fuzzer run for a bounded time
#      (OX_FUZZ_SECONDS, default 20) starting from its seed corpus.
# Build trees go to ./build/ (reused between runs). Exit status is non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
jobs=${OX_JOBS:-2}
fuzz_seconds=${OX_FUZZ_SECONDS:-20}

scripts/install-deps.sh

passed=0
failed=0

echo "== formatting"
if scripts/check-format.sh; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
run_ctest() {  # build-dir label
  local log
  log=$(mktemp)
  if (cd "$1" && ctest --output-on-failure -j"$jobs" --timeout 900) 2>&1 | tee "$log"; then :; else
    failed=$((failed + 1))
  fi
  local line
  line=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -n 1 || true)
  if [[ -n "$line" ]]; then
    local total nfail
    total=$(sed -E 's/.*out of ([0-9]+).*/\1/' <<<"$line")
    nfail=$(sed -E 's/.*tests passed, ([0-9]+) tests failed.*/\1/' <<<"$line")
    passed=$((passed + total - nfail))
    failed=$((failed + nfail))
  fi
  rm -f "$log"
}

echo "== release build and tests"
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release -j"$jobs"
run_ctest build/release

echo "== installed package: consumer project"
rm -rf build/stage build/consumer
cmake --install build/release --prefix build/stage >/dev/null
if cmake -S tests/consumer -B build/consumer -G Ninja -DCMAKE_PREFIX_PATH="$root/build/stage" >/dev/null &&
   cmake --build build/consumer -j"$jobs" && build/consumer/consumer; then
  passed=$((passed + 1))
else
  echo "consumer project FAILED"; failed=$((failed + 1))
fi

echo "== AddressSanitizer + UndefinedBehaviorSanitizer build and tests"
cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOX_SANITIZE=ON >/dev/null
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 run_ctest build/asan

echo "== fuzzing the file readers (${fuzz_seconds}s each)"
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DOX_BUILD_TESTS=OFF -DOX_BUILD_FUZZERS=ON \
  -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined" >/dev/null
fuzz_targets=()
for source in tests/fuzz/fuzz_*.cpp; do fuzz_targets+=("$(basename "$source" .cpp)"); done
cmake --build build/fuzz -j"$jobs" --target "${fuzz_targets[@]}"
for fuzzer in build/fuzz/tests/fuzz/fuzz_*; do
  [[ -x "$fuzzer" ]] || continue
  name=$(basename "$fuzzer")
  corpus_seed="tests/fuzz/corpus_${name#fuzz_}"
  work="build/fuzz/corpus-${name}"
  mkdir -p "$work"
  seeds=()
  [[ -d "$corpus_seed" ]] && seeds+=("$corpus_seed")
  if "$fuzzer" -max_total_time="$fuzz_seconds" -rss_limit_mb=2048 -max_len=65536 \
       -artifact_prefix="build/fuzz/${name}-" "$work" "${seeds[@]}" >"build/fuzz/${name}.log" 2>&1; then
    echo "$name: $(grep -Eo 'Done [0-9]+ runs in [0-9]+ second' "build/fuzz/${name}.log" | tail -n 1)s, no crash"
    passed=$((passed + 1))
  else
    echo "$name FAILED:"; tail -n 40 "build/fuzz/${name}.log"; failed=$((failed + 1))
  fi
done

echo
echo "summary: ${passed} passed, ${failed} failed"
[[ $failed -eq 0 ]]
