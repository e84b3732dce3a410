# Front door of the project. CMake does the work; see CMakePresets.json for other kinds of build.

JOBS ?= $(shell nproc)
WARNINGS_ARE_ERRORS ?= ON
configure = cmake --preset $(1) -DQUILLMORE_WARNINGS_ARE_ERRORS=$(WARNINGS_ARE_ERRORS) >/dev/null

.DEFAULT_GOAL := help
.PHONY: help setup build run check test fuzz lint lint-all format bench screenshots clean

help:
	@echo "make run      build, then show the launcher at work on a private machine"
	@echo "make check    build, then run the suites in C++: what to do between two changes"
	@echo "make test     build, then run every test"
	@echo "make build    build/Quillmore.app, complete and runnable from anywhere"
	@echo "make fuzz     feed the parsers anything, FUZZ_SECONDS (600) each"
	@echo "make lint     formatting, layering and static analysis of what the last release has not"
	@echo "make lint-all the same, with static analysis of every source"
	@echo "make format   format every source"
	@echo "make bench    build for speed, then run the benchmarks"
	@echo "make screenshots  docs/images: the windows in each state"
	@echo "make clean    remove the build folder and the machine of make run"

setup:
	@Packaging/setup

# The copy in build/ is a plain folder that can be carried away; what was changed in it by hand stays
# until the build has something newer.
build: setup
	@$(call configure,dev)
	@cmake --build build/dev --target bundle sample_finder -j$(JOBS)
	@cp -Ru --preserve=mode,timestamps build/dev/Quillmore.app build/

run: build
	@Packaging/run

# One kind of test by its label: ctest --test-dir build/dev -L unit (system, window, e2e, attack); fuzz in build/fuzz.
check: build
	@cmake --build build/dev -j$(JOBS)
	@$(run_tests) -L suite

run_tests = tests/run build/dev -j$(TEST_JOBS)
TEST_JOBS ?= 2

test: build
	@cmake --build build/dev -j$(JOBS)
	@$(run_tests)
	@if $(has_fuzzer); then $(build_fuzz) && tests/run build/fuzz -j$(TEST_JOBS); \
	else echo "fuzz targets skipped: no clang++ with libFuzzer"; fi

# What is found is kept: crashes in build/fuzz/fuzz, inputs worth more tries in corpus/ there.
FUZZ_SECONDS ?= 600
has_fuzzer = echo 'extern "C" int LLVMFuzzerTestOneInput(const char*, unsigned long) { return 0; }' | \
	clang++ -fsanitize=fuzzer,address,undefined -x c++ - -o /dev/null 2>/dev/null
build_fuzz = $(call configure,fuzz) && cmake --build build/fuzz -j$(JOBS)

fuzz: setup
	@$(build_fuzz)
	@cd build/fuzz/fuzz && for target in *Fuzz; do echo "$$target"; "./$$target" -timeout=10 \
	    -max_total_time=$(FUZZ_SECONDS) -rss_limit_mb=4096 corpus/$$target seeds/$$target || exit; done

lint:
	@Packaging/setup --lint
	@lint/layers
	@lint/functions
	@lint/format-check
	@lint/named-files
	@$(call configure,dev)
	@lint/tidy build/dev $(SOURCES)

lint-all:
	@$(MAKE) --no-print-directory lint SOURCES=--all

format:
	@Packaging/setup --lint
	@lint/sources | xargs clang-format -i

bench: setup
	@$(call configure,release)
	@cmake --build build/release --target benchmarks -j$(JOBS)
	@for program in build/release/bench/*_bench; do "$$program" || exit; done

screenshots: build
	@QUILLMORE_BUILD=$(CURDIR)/build/dev /usr/bin/python3 -B tests/e2e/window_pictures.py docs/images

clean:
	@if [ -e build/machine/.quillmore-machine ]; then Packaging/sandbox --remove build/machine; fi
	rm -rf build
