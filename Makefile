# The two commands: `make demo` and `make test`. Both install what is missing, build, and run
# under a virtual X server when there is no display.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)

.PHONY: all setup configure build demo test clean android

all: build

setup:
	@scripts/setup.sh

configure: setup
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

# The showcase needs the library, the host stand-ins and the jars: none of the test suite.
DEMO_TARGETS = xolkesto2engine kesto2host kesto2_jar kesto2_host_jar kesto2_demo_jar

demo: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target $(DEMO_TARGETS)
	@scripts/with-x.sh scripts/demo.sh $(BUILD_DIR)

test: build
	@scripts/with-x.sh ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

clean:
	rm -rf $(BUILD_DIR)

# The Android libraries (four ABIs, API 21) and kesto2.aar under $(BUILD_DIR)/android, with the NDK
# in ANDROID_NDK or the sysroot in ../shared/android.
android: setup
	@scripts/android.sh $(BUILD_DIR)/android

# Benchmarks: the engine, its floor and the SDL2 peer, then one summary table. Not part of `test`.
# BENCH_ARGS passes options on, e.g. BENCH_ARGS="--rounds=3 --min-time=0.25".
.PHONY: bench
bench: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target kesto_benchmarks
	@scripts/with-x.sh bench/run.sh $(BUILD_DIR) $(BENCH_ARGS)

# Engine line coverage per folder, from every test that uses the plain library (the sanitizer and
# fuzzer builds compile copies of their own and are left out). Not part of `test`.
.PHONY: coverage
coverage: setup
	@scripts/with-x.sh scripts/coverage.sh build-coverage
