# The two entry points of the project: `make demo` and `make test`.
BUILD_DIR      ?= build
ARM_BUILD_DIR  ?= build-arm
ARM_MODULE_BUILD_DIR ?= build-arm-module
ASAN_BUILD_DIR ?= build-asan
FUZZ_BUILD_DIR ?= build-fuzz
BENCH_BUILD_DIR?= build-bench
JOBS           ?= $(shell nproc)
CTEST_FLAGS    ?= --output-on-failure -j $(JOBS)
ARM_TOOLCHAIN  := --toolchain cmake/arm-linux-gnueabihf.cmake

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

# The 32-bit ARM build runs the whole suite under qemu-arm; warnings are errors so that every
# printf format and integer width is checked with 32-bit long and size_t. No tools: cpp-httplib
# has no armhf package that installs alongside the native one.
test-arm: deps
	cmake -S . -B $(ARM_BUILD_DIR) -G Ninja $(ARM_TOOLCHAIN) -DFRITZBOX_BUILD_TOOLS=OFF -DFRITZBOX_WERROR=ON
	cmake --build $(ARM_BUILD_DIR) -j $(JOBS)
	ctest --test-dir $(ARM_BUILD_DIR) $(CTEST_FLAGS)

# One after the other, never in parallel: both runs use the fixed picture directory.
test:
	$(MAKE) test-native
	$(MAKE) test-arm

# The module's library as a phone firmware build takes it: release flags, stripped copy in
# $(ARM_MODULE_BUILD_DIR)/stripped/. Needs only the cross compiler, so no deps step.
arm-module:
	cmake -S . -B $(ARM_MODULE_BUILD_DIR) -G Ninja $(ARM_TOOLCHAIN) -DFRITZBOX_MODULE_ONLY=ON -DFRITZBOX_WERROR=ON \
	  -DCMAKE_BUILD_TYPE=Release
	cmake --build $(ARM_MODULE_BUILD_DIR) -j $(JOBS)
	mkdir -p $(ARM_MODULE_BUILD_DIR)/stripped
	arm-linux-gnueabihf-strip -o $(ARM_MODULE_BUILD_DIR)/stripped/libfritzbox-xsi-module.so \
	  $(ARM_MODULE_BUILD_DIR)/lib/libfritzbox-xsi-module.so
	scripts/check-module-library.sh $(ARM_MODULE_BUILD_DIR)/lib/libfritzbox-xsi-module.so arm-linux-gnueabihf-nm

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD_DIR) $(ARM_BUILD_DIR) $(ARM_MODULE_BUILD_DIR) $(ASAN_BUILD_DIR) $(FUZZ_BUILD_DIR) $(BENCH_BUILD_DIR)
