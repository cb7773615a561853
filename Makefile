# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# The two entry points of the project: `make demo` and `make test`.
# Every build is a preset of CMakePresets.json (cmake --list-presets all), in build-<preset>/ (the
# native one in build/).
JOBS           ?= $(shell nproc)
CTEST_FLAGS    ?= -j $(JOBS)
preset = cmake --preset $(1) && cmake --build --preset $(1) -j $(JOBS)

.PHONY: help deps build demo test test-native test-arm test-asan arm-module package fuzz bench mutation coverage format clean

# A bare `make` only prints this: installing packages needs a target that asks for it.
help:
	@echo 'make demo         install what is missing, build, run the module against the bundled router simulator'
	@echo 'make test         install, build and run every test: native, 32-bit ARM under qemu, sanitizers, fuzz smoke'
	@echo 'make deps         install the Debian packages the builds need (scripts/install-deps.sh)'
	@echo 'make build        the native build in build/'
	@echo 'make test-native  the native suite; test-arm, test-asan: the ARM and sanitizer suites'
	@echo 'make arm-module   the stripped 32-bit ARM module and its size'
	@echo 'make package      the Debian packages and the archive'
	@echo 'make fuzz         every fuzz target for a while (FUZZ_SECONDS)'
	@echo 'make bench        the benchmarks, the directory sync beside BENCH_BASELINE (default 161749d)'
	@echo 'make coverage     branch coverage of the native suite'
	@echo 'make mutation     the mutation check (MUTATION_ARGS passes options)'
	@echo 'make format       clang-format every C++ file'
	@echo 'make clean        remove every build directory'

deps:
	@bash scripts/install-deps.sh

build: deps
	$(call preset,native)

demo: build
	./build/bin/fritzbox-xsi demo

test-native: build
	ctest --preset native $(CTEST_FLAGS)

# The 32-bit ARM build runs the whole suite under qemu-arm; warnings are errors so that every
# printf format and integer width is checked with 32-bit long and size_t. It builds the host but
# not the router simulator (cpp-httplib has no armhf package that installs alongside the native
# one): the host and consumer tests run their ARM programs against the native build's simulator,
# which this target builds first.
test-arm: deps
	cmake --preset native
	cmake --build --preset native -j $(JOBS) --target fritzbox-router-sim
	$(call preset,arm)
	ctest --preset arm $(CTEST_FLAGS)

# The whole suite with AddressSanitizer and UndefinedBehaviorSanitizer; any report fails its test.
test-asan: deps
	$(call preset,asan)
	ctest --preset asan $(CTEST_FLAGS)

# The libFuzzer targets (clang), one after the other, each for FUZZ_SECONDS (and at most FUZZ_RUNS
# inputs when set) on its corpus in FUZZ_WORK_DIR, seeded from fuzz/corpus/. With FUZZ_OPTIONAL=1 a
# machine without clang skips them instead of failing.
FUZZ_SECONDS  ?= 60
FUZZ_RUNS     ?= 0
FUZZ_WORK_DIR ?= fuzz-corpus-work
fuzz: deps
	@if ! command -v clang++ >/dev/null; then \
	  echo "fuzz: clang++ not found"; [ "$(FUZZ_OPTIONAL)" = 1 ]; exit; fi; \
	$(call preset,fuzz) && bash fuzz/run-fuzzers.sh build-fuzz $(FUZZ_WORK_DIR) $(FUZZ_SECONDS) $(FUZZ_RUNS)

# One suite after the other (each already runs its tests in parallel on the machine's cores). The fuzz
# smoke run takes about half a minute.
test:
	$(MAKE) test-native
	$(MAKE) test-arm
	$(MAKE) test-asan
	$(MAKE) fuzz FUZZ_SECONDS=10 FUZZ_RUNS=20000 FUZZ_WORK_DIR=build-fuzz/smoke-corpus FUZZ_OPTIONAL=1

# The module's library as a phone firmware build takes it: size-optimised (MinSizeRel), hardened,
# stripped copy in build-arm-module/stripped/, at most 48 KiB stripped. Needs only the cross
# compiler, so no deps step.
ARM_MODULE_MAX_BYTES := 49152
arm-module:
	$(call preset,arm-module)
	mkdir -p build-arm-module/stripped
	arm-linux-gnueabihf-strip -o build-arm-module/stripped/libfritzbox-xsi-module.so \
	  build-arm-module/lib/libfritzbox-xsi-module.so
	scripts/check-module-library.sh build-arm-module/lib/libfritzbox-xsi-module.so arm-linux-gnueabihf-nm \
	  arm-linux-gnueabihf-strip $(ARM_MODULE_MAX_BYTES)
	scripts/check-hardening.sh --single arm-linux-gnueabihf-readelf build-arm-module/lib/libfritzbox-xsi-module.so

# The module's packages, .tar.gz and .deb (cmake/ModulePackage.cmake), for the phone (armhf) and for
# this machine, each from a size-optimised build configured for packages; each in <build>/packages/.
# lintian, when installed, checks every .deb and fails the target on an error or a warning.
package:
	for arch in arm native; do \
	  $(call preset,package-$$arch) && cmake --build --preset package-$$arch --target debs && \
	  cpack --config build-package-$$arch/CPackConfig.cmake -B $(CURDIR)/build-package-$$arch/packages || exit; done
	@ls -1 build-package-*/packages/*.deb build-package-*/packages/*.tar.gz

# The benchmarks, peak memory and library sizes of docs/performance.md, in a Release build; about
# three minutes once built. BENCH_REPETITIONS=N repeats each benchmark N times (default 5). The
# directory sync's curve is always shown beside that of the commits in BENCH_BASELINE (their
# module and platform libraries built in worktrees under /tmp): by default 161749d, the fastest
# sync measured, so that a change that slows it shows in every run; BENCH_BASELINE= leaves it out.
# arm-module provides the ARM library whose size is reported.
BENCH_BASELINE ?= 161749d
bench: deps
	$(call preset,bench)
	$(MAKE) arm-module
	BENCH_BASELINE="$(BENCH_BASELINE)" bench/run-benchmarks.sh build-bench build-arm-module

# Line and branch coverage of the native suite (gcovr), from a build of its own with --coverage:
# a summary per area on the terminal, the HTML report in build-coverage/coverage/index.html.
# Counts of earlier runs are deleted first. A test that limits the file size (the token file's
# "disk full") keeps libgcov from writing its counts; libgcov's complaint goes to a log file
# instead of that test's checked stderr.
coverage: deps
	$(call preset,coverage)
	find build-coverage -name '*.gcda' -delete
	GCOV_ERROR_FILE=$(CURDIR)/build-coverage/gcov-errors.log ctest --preset coverage $(CTEST_FLAGS)
	scripts/coverage.sh build-coverage

# Plants one fault at a time into the C++ sources of a copy of the tree (under /tmp) and runs the
# native suite on each: killed, survived or does not compile, and a score. MUTATION_ARGS passes
# options through, e.g. MUTATION_ARGS="--sample 40 --seed 7 --files tools/ --min-score 80"; see
# scripts/mutation.py --help. Survivors go to build-mutation/survivors.txt.
MUTATION_ARGS ?=
mutation: deps
	python3 scripts/mutation.py $(MUTATION_ARGS)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf build build-*/
