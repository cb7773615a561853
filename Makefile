# The two entry points of the project: `make demo` and `make test`.
BUILD_DIR      ?= build
ARM_BUILD_DIR  ?= build-arm
ASAN_BUILD_DIR ?= build-asan
FUZZ_BUILD_DIR ?= build-fuzz
BENCH_BUILD_DIR?= build-bench
JOBS           ?= $(shell nproc)
CTEST_FLAGS    ?= --output-on-failure -j $(JOBS)

.PHONY: deps build demo test test-native test-arm test-asan arm-module fuzz bench format clean

deps:
	@bash scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja
	cmake --build $(BUILD_DIR) -j $(JOBS)

demo: build
	./$(BUILD_DIR)/bin/fritzbox-xsi demo

test-native: build
	ctest --test-dir $(BUILD_DIR) $(CTEST_FLAGS)

test: test-native

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD_DIR) $(ARM_BUILD_DIR) $(ASAN_BUILD_DIR) $(FUZZ_BUILD_DIR) $(BENCH_BUILD_DIR)
