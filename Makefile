# The two entry points of the project: `make demo` and `make test`.
BUILD_DIR      ?= build
ARM_BUILD_DIR  ?= build-arm
ARM_MODULE_BUILD_DIR ?= build-arm-module
ASAN_BUILD_DIR ?= build-asan
FUZZ_BUILD_DIR ?= build-fuzz
BENCH_BUILD_DIR?= build-bench
PACKAGE_BUILD_DIR ?= build-package
ARM_PACKAGE_BUILD_DIR ?= build-package-arm
# The packages' builds: the size-optimised module alone, installed under /usr.
PACKAGE_CONFIG := -DFRITZBOX_MODULE_ONLY=ON -DFRITZBOX_WERROR=ON -DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_INSTALL_PREFIX=/usr
JOBS           ?= $(shell nproc)
CTEST_FLAGS    ?= --output-on-failure -j $(JOBS)
ARM_TOOLCHAIN  := --toolchain cmake/arm-linux-gnueabihf.cmake

.PHONY: deps build demo test test-native test-arm test-asan arm-module package fuzz bench format clean

deps:
	@bash scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja
	cmake --build $(BUILD_DIR) -j $(JOBS)

demo: build
	./$(BUILD_DIR)/bin/fritzbox-xsi demo

test-native: build
	ctest --test-dir $(BUILD_DIR) $(CTEST_FLAGS)

# The 32-bit ARM build runs the whole suite under qemu-arm; warnings are errors so that every
# printf format and integer width is checked with 32-bit long and size_t. It builds the host but
# not the router simulator (cpp-httplib has no armhf package that installs alongside the native
# one): the host and consumer tests run their ARM programs against the native build's simulator,
# which this target builds first.
test-arm: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja
	cmake --build $(BUILD_DIR) -j $(JOBS) --target fritzbox-router-sim
	cmake -S . -B $(ARM_BUILD_DIR) -G Ninja $(ARM_TOOLCHAIN) -DFRITZBOX_WERROR=ON \
	  -DFRITZBOX_NATIVE_ROUTER_SIM=$(CURDIR)/$(BUILD_DIR)/bin/fritzbox-router-sim
	cmake --build $(ARM_BUILD_DIR) -j $(JOBS)
	ctest --test-dir $(ARM_BUILD_DIR) $(CTEST_FLAGS)

# The whole suite with AddressSanitizer and UndefinedBehaviorSanitizer; any report fails its test.
test-asan: deps
	cmake -S . -B $(ASAN_BUILD_DIR) -G Ninja -DFRITZBOX_SANITIZE=ON
	cmake --build $(ASAN_BUILD_DIR) -j $(JOBS)
	ctest --test-dir $(ASAN_BUILD_DIR) $(CTEST_FLAGS)

# The libFuzzer targets (clang), one after the other, each for FUZZ_SECONDS (and at most FUZZ_RUNS
# inputs when set) on its corpus in FUZZ_WORK_DIR, seeded from fuzz/corpus/. With FUZZ_OPTIONAL=1 a
# machine without clang skips them instead of failing.
FUZZ_SECONDS  ?= 60
FUZZ_RUNS     ?= 0
FUZZ_WORK_DIR ?= fuzz-corpus-work
fuzz: deps
	@if ! command -v clang++ >/dev/null; then \
	  echo "fuzz: clang++ not found"; [ "$(FUZZ_OPTIONAL)" = 1 ]; exit; fi; \
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD_DIR) -G Ninja -DFRITZBOX_BUILD_FUZZ=ON -DFRITZBOX_SANITIZE=ON \
	  -DFRITZBOX_BUILD_TESTS=OFF -DFRITZBOX_BUILD_TOOLS=OFF && \
	cmake --build $(FUZZ_BUILD_DIR) -j $(JOBS) --target fuzzers && \
	bash fuzz/run-fuzzers.sh $(FUZZ_BUILD_DIR) $(FUZZ_WORK_DIR) $(FUZZ_SECONDS) $(FUZZ_RUNS)

# One after the other, never in parallel: all runs use the fixed picture directory. The fuzz
# smoke run takes about half a minute.
test:
	$(MAKE) test-native
	$(MAKE) test-arm
	$(MAKE) test-asan
	$(MAKE) fuzz FUZZ_SECONDS=10 FUZZ_RUNS=20000 FUZZ_WORK_DIR=$(FUZZ_BUILD_DIR)/smoke-corpus FUZZ_OPTIONAL=1

# The module's library as a phone firmware build takes it: size-optimised (MinSizeRel), hardened,
# stripped copy in $(ARM_MODULE_BUILD_DIR)/stripped/, at most 48 KiB stripped. Needs only the cross
# compiler, so no deps step.
ARM_MODULE_MAX_BYTES := 49152
arm-module:
	cmake -S . -B $(ARM_MODULE_BUILD_DIR) -G Ninja $(ARM_TOOLCHAIN) -DFRITZBOX_MODULE_ONLY=ON -DFRITZBOX_WERROR=ON \
	  -DCMAKE_BUILD_TYPE=MinSizeRel
	cmake --build $(ARM_MODULE_BUILD_DIR) -j $(JOBS)
	mkdir -p $(ARM_MODULE_BUILD_DIR)/stripped
	arm-linux-gnueabihf-strip -o $(ARM_MODULE_BUILD_DIR)/stripped/libfritzbox-xsi-module.so \
	  $(ARM_MODULE_BUILD_DIR)/lib/libfritzbox-xsi-module.so
	scripts/check-module-library.sh $(ARM_MODULE_BUILD_DIR)/lib/libfritzbox-xsi-module.so arm-linux-gnueabihf-nm \
	  arm-linux-gnueabihf-strip $(ARM_MODULE_MAX_BYTES)
	scripts/check-hardening.sh arm-linux-gnueabihf-readelf $(ARM_MODULE_BUILD_DIR)/lib/libfritzbox-xsi-module.so

# The module's packages, .tar.gz and .deb (cmake/ModulePackage.cmake), for the phone (armhf) and for
# this machine, each from a size-optimised build configured for packages; each in <build>/packages/.
# lintian, when installed, checks every .deb and fails the target on an error or a warning.
package:
	cmake -S . -B $(ARM_PACKAGE_BUILD_DIR) -G Ninja $(ARM_TOOLCHAIN) $(PACKAGE_CONFIG) \
	  -DCMAKE_INSTALL_LIBDIR=lib/arm-linux-gnueabihf
	cmake -S . -B $(PACKAGE_BUILD_DIR) -G Ninja $(PACKAGE_CONFIG)
	for dir in $(ARM_PACKAGE_BUILD_DIR) $(PACKAGE_BUILD_DIR); do \
	  cmake --build $$dir -j $(JOBS) && cmake --build $$dir --target debs && \
	  cpack --config $$dir/CPackConfig.cmake -B $(CURDIR)/$$dir/packages || exit; done
	@ls -1 $(ARM_PACKAGE_BUILD_DIR)/packages/*.deb $(ARM_PACKAGE_BUILD_DIR)/packages/*.tar.gz \
	  $(PACKAGE_BUILD_DIR)/packages/*.deb $(PACKAGE_BUILD_DIR)/packages/*.tar.gz

# The benchmarks, peak memory and library sizes of docs/performance.md, in a Release build; about
# two minutes once built. BENCH_REPETITIONS=N repeats each benchmark N times (default 5); with
# BENCH_BASELINE="<commit>..." the phonebook curves of those commits are measured too (each built
# in a worktree under /tmp). arm-module provides the ARM library whose size is reported.
bench: deps
	cmake -S . -B $(BENCH_BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DFRITZBOX_BUILD_BENCH=ON
	cmake --build $(BENCH_BUILD_DIR) -j $(JOBS)
	$(MAKE) arm-module
	bench/run-benchmarks.sh $(BENCH_BUILD_DIR) $(ARM_MODULE_BUILD_DIR)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD_DIR) $(ARM_BUILD_DIR) $(ARM_MODULE_BUILD_DIR) $(ASAN_BUILD_DIR) $(FUZZ_BUILD_DIR) $(BENCH_BUILD_DIR) $(PACKAGE_BUILD_DIR) \
	  $(ARM_PACKAGE_BUILD_DIR)
