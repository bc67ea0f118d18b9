# Each target brings all that it needs: Debian's packages, the configuration and the build. See README.md.
#   make demo               prints the sample document, checks the job and draws its pages
#   make test               builds and runs every test, and each fuzz target for a few seconds
#                           (SAN=address or SAN=thread: the tests under a sanitizer)
#   make faults             fails every single call of the filter that can fail; takes about half an hour
#   make coverage           tells which lines the fuzz targets reach
#   make app                runs a printer for phones and other systems on this machine, with a virtual printer behind
#                           it, until Ctrl-C
#   make package            builds the Debian package in out/ (ARCH=arm64: after make cross, the one for arm64)
#   make cross ARCH=arm64   builds for arm64 (or s390x, or nehalem: amd64 without AVX2), and tests under qemu
#   make everywhere         all tests on this system, on Debian 13 beside it (as root) and on those processors
#   make bench              measures the filter beside libjpeg-turbo, the renderer and rastertopclx
#   make lint               builds with gcc and clang, where each warning is an error, checks the formatting, and runs
#                           the static analysis

MAKEFLAGS += --no-print-directory
JOBS := $(shell nproc)
# Tests wait more than they compute.
TEST_JOBS := $(shell expr 3 \* $(JOBS))
SAN ?=
PRESET := $(if $(SAN),$(SAN),release)
BUILD := build/$(PRESET)

ARCH ?=

.PHONY: demo app test faults coverage package cross everywhere bench lint clean
.PHONY: setup-build setup-test setup-coverage setup-package setup-cross setup-bench setup-lint

setup-build setup-test setup-coverage setup-package setup-cross setup-bench setup-lint:
	@scripts/setup.sh $(@:setup-%=%)

demo: setup-build
	@test -f $(BUILD)/CMakeCache.txt || cmake --preset $(PRESET) -DKESTO_TESTS=OFF
	@cmake --build $(BUILD) -j$(JOBS) --target pdftokesto kestojob kesto_ppd
	@scripts/demo.sh $(BUILD)

app: setup-build
	@test -f $(BUILD)/CMakeCache.txt || cmake --preset $(PRESET) -DKESTO_TESTS=OFF
	@cmake --build $(BUILD) -j$(JOBS) --target kesto-printer-app kestoprinter pdftokesto rastertokesto kesto_ppd
	@scripts/app.sh $(BUILD)

test: setup-test
	@cmake --preset $(PRESET) -DKESTO_TESTS=ON
	@cmake --build $(BUILD) -j$(JOBS)
	@ctest --test-dir $(BUILD) --output-on-failure -j$(TEST_JOBS)
ifeq ($(SAN),)
	@cmake --preset fuzz
	@cmake --build build/fuzz -j$(JOBS)
	@ctest --test-dir build/fuzz --output-on-failure -j$(JOBS)
endif

faults: setup-test
	@cmake --preset release -DKESTO_TESTS=ON
	@cmake --build build/release -j$(JOBS) --target faults_test
	@KESTO_FAULTS=all build/release/tests/faults_test

coverage: setup-coverage
	@scripts/fuzz_coverage.sh

package: setup-package
	@scripts/package.sh $(ARCH)

cross: setup-cross
	@cmake --preset release -DKESTO_TESTS=ON
	@cmake --build build/release -j$(JOBS)
	@scripts/cross.sh $(ARCH)

everywhere: test
	@scripts/in_debian.sh trixie make test
	@for processor in arm64 s390x nehalem; do $(MAKE) cross ARCH=$$processor || exit 1; done

bench: setup-bench
	@cmake --preset bench
	@cmake --build build/bench -j$(JOBS)
	@scripts/bench.sh build/bench

lint: setup-lint
	@cmake --preset gcc -DKESTO_TESTS=ON -DKESTO_BENCH=ON
	@cmake --build build/gcc -j$(JOBS)
	@cmake --preset clang -DKESTO_TESTS=ON -DKESTO_BENCH=ON -DKESTO_FUZZ=ON
	@cmake --build build/clang -j$(JOBS)
	@scripts/lint.sh build/clang

clean:
	rm -rf build out
