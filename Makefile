# Thin wrapper over CMake. `make demo` and `make test` work on a fresh machine.
SANITIZE ?= 0
JOBS ?= $(shell nproc)
# Our own builds treat warnings as errors; a plain CMake build does not.
ifeq ($(SANITIZE),1)
  BUILD := build-asan
  CMAKE_FLAGS := -DKV_WERROR=ON -DKV_SANITIZE=ON -DKV_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug
else
  BUILD := build
  CMAKE_FLAGS := -DKV_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo
endif
# Leak reports matter; the solid modeller's static caches are not ours to free.
export ASAN_OPTIONS ?= detect_leaks=1:abort_on_error=0
export UBSAN_OPTIONS ?= print_stacktrace=1:halt_on_error=1
export LSAN_OPTIONS ?= suppressions=$(CURDIR)/tests/lsan.supp

.PHONY: all deps configure build test demo bench fuzz clean

all: build

deps:
	@scripts/install-deps

configure: deps
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The demo starts from an empty project folder each time, so its output is the same on every run.
demo: build
	@rm -rf $(BUILD)/demo-project
	@$(BUILD)/kvhost --project $(BUILD)/demo-project --open $(BUILD)/demo-project/office.dwg examples/demo.lsp \
	  examples/demo-loads.lsp examples/demo-ducts.lsp
	@$(BUILD)/stepcheck $(BUILD)/demo-project/office.step $(BUILD)/demo-project/office-volumes.txt \
	  $(BUILD)/demo-project/office-model.png 25.4
	@echo "demo files: $(BUILD)/demo-project"

bench: configure
	@cmake --build $(BUILD) -j $(JOBS) --target bench_all kvhost
	@scripts/run-benchmarks $(BUILD)

# The fuzzers at length: COUNT batches each (200 LISP calls or 100 files a batch), from SEED.
# Failing inputs are kept in $(BUILD)/fuzz/kept; copy one to tests/fuzz/cases to replay it in ctest.
# Known faults are met too; KNOWN=avoid leaves them out as the ctest budget does.
COUNT ?= 100
SEED ?= $(shell date +%s)
FUZZ_ARGS = --seed $(SEED) --batches $(COUNT) --save $(BUILD)/fuzz/kept $(if $(filter avoid,$(KNOWN)),--avoid-known)
# Where the fuzzers work; a memory file system (FUZZ_WORK=/dev/shm/kvfuzz) spares project files' syncs.
FUZZ_WORK ?= $(BUILD)/fuzz
fuzz: build
	@$(BUILD)/kvfuzz lisp $(BUILD)/kvhost $(FUZZ_WORK)/lisp $(FUZZ_ARGS) --calls 200 \
	  --rules tests/fuzz/lisp-rules.txt --rules tests/fuzz/known-faults.txt; s1=$$?; \
	for k in dwg dxf kv; do $(BUILD)/kvfuzz $$k $(BUILD)/kvhost $(FUZZ_WORK)/$$k $(FUZZ_ARGS) --files 100 || s1=1; done; \
	exit $$s1

clean:
	rm -rf build build-asan
