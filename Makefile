# A thin front to CMake, for newcomers. CMakeLists.txt and CMakePresets.json build everything.

PRESET ?= release
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
PREFIX ?= /usr/local
IMPORT_OPTIONS ?=

# Without REPOS the example is imported, into a folder under build/ that is removed first each time.
# A folder that the user named with INTO is never removed; the import refuses it when it isn't empty.
EXAMPLE = build/example
ifdef REPOS
  NEEDED_REPOS =
else
  REPOS = $(CURDIR)/$(EXAMPLE)/repository
  MODULE = calculator
  NEEDED_REPOS = $(EXAMPLE)/repository
endif
ifndef INTO
  ifneq ($(NEEDED_REPOS),)
    INTO = $(EXAMPLE)/git
    REMOVE_OLD_TARGET = rm -rf '$(INTO)'
  endif
endif

.PHONY: help deps build import-deps import-programs import test memcheck faults bench bench-history bench-retrieve \
  fuzz fuzz-smoke build-fuzz fuzz-repositories install format format-check tidy lint check-import-arguments

help:
	@echo 'make import    import the example repository into Git and show its history'
	@echo '               REPOS=ROOT MODULE=NAME INTO=FOLDER imports your own'
	@echo '               IMPORT_OPTIONS=... for talvek-import run'
	@echo 'make test      build and run every test                  (PRESET=release, debug, asan)'
	@echo 'make memcheck  run the tests under valgrind, an hour      (PROGRAMS=core_tests: only these)'
	@echo 'make build     build the plug-in and the programs        (PRESET=...)'
	@echo 'make install   install them                              (PREFIX=/usr/local, DESTDIR=)'
	@echo 'make bench     run the benchmarks'
	@echo 'make bench-history    measure how fast histories are read; prints the table of bench/RESULTS.md'
	@echo '               (HISTORY=options of bench/history.py)'
	@echo 'make bench-retrieve   measure how fast file revisions are fetched  (RETRIEVE=options of bench/retrieve.py)'
	@echo 'make faults    run the programs with full disks, broken connections and other faults; prints a table'
	@echo '               (FAULTS=options of tests/faults/run)'
	@echo 'make fuzz-smoke       run the fuzzers, 30 seconds for each target'
	@echo 'make fuzz             the same for longer                 (SECONDS=1200, TARGETS=all)'
	@echo 'make fuzz-repositories  import random repositories and compare with cvs  (COUNT=100, SEEDS=1..50)'
	@echo 'make deps      install the Debian packages that are missing (NO_DEPS=1: never install any)'
	@echo 'make format    format the sources                       (make format-check: only say which need it)'
	@echo 'make tidy      run clang-tidy on the sources, minutes'
	@echo 'make lint      format-check and tidy for the files that a change touches (tools/lint --help)'

# $(call need,GROUP...): installs the missing packages of these groups of tools/packages.txt.
need = $(if $(NO_DEPS),@:,@tools/install-packages $(1))

deps:
	$(call need,import build)

build: deps
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET) -j$(JOBS)

import-deps:
	$(call need,import)

# Without tests, fuzz targets and benchmarks, which take most of the time of a full build.
import-programs: import-deps
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET) -j$(JOBS) --target import-programs

import: check-import-arguments import-programs $(NEEDED_REPOS)
	@$(REMOVE_OLD_TARGET)
	build/$(PRESET)/bin/talvek-import run --repos-path '$(REPOS)' --module-name '$(MODULE)' \
	  $(IMPORT_OPTIONS) --into '$(INTO)'
	git -C '$(INTO)' --no-pager log --graph --all --date=short --format='%h %ad %an: %s%d'

check-import-arguments:
	@test -n '$(MODULE)' || { echo 'Say which module of $(REPOS) to import: MODULE=NAME' >&2; exit 2; }
	@test -n '$(INTO)' || { echo 'Say where to put the Git repository: INTO=FOLDER' >&2; exit 2; }

# Moved into place when it is complete, so that an interrupted run leaves no partial repository.
$(EXAMPLE)/repository: examples/make-repository | import-deps
	@mkdir -p $(EXAMPLE)
	@rm -rf $@ $@.new
	examples/make-repository $@.new
	@mv $@.new $@

test: build
	ctest --preset $(PRESET) -j$(JOBS)

# Exits with an error when a test failed or valgrind found something; the findings are in build/memcheck.
PROGRAMS =

memcheck: PRESET = release
memcheck: build
	$(call need,memcheck)
	tests/memcheck/run --bin '$(CURDIR)'/build/$(PRESET)/bin $(PROGRAMS)

# Takes minutes. Needs the right to mount: root, or user namespaces.
faults: PRESET = release
faults: build
	$(call need,peers)
	tests/faults/run --bin '$(CURDIR)'/build/$(PRESET)/bin $(FAULTS)

bench: PRESET = release
bench: deps
	$(call need,bench)
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET) --target bench

# A real log; it is measured, too, if it lies beside the project.
REAL_LOG = ../shared/rlogs/ncvs-src.rlog.xz

bench-history: PRESET = release
bench-history: build
	$(call need,bench peers)
	cmake --build --preset $(PRESET) --target make-history
	@if test -f $(REAL_LOG); then xz -dc $(REAL_LOG) > build/real.rlog; fi
	bench/history.py --bin '$(CURDIR)'/build/$(PRESET)/bin $$(test -f build/real.rlog && echo --log build/real.rlog) \
	  $(HISTORY)

# Takes minutes: whole imports, over connections of several latencies.
bench-retrieve: PRESET = release
bench-retrieve: build
	$(call need,peers)
	bench/retrieve.py --bin '$(CURDIR)'/build/$(PRESET)/bin $(RETRIEVE)

# fuzz-smoke and fuzz exit with an error when something was found; the inputs are in build/fuzz/finds.
SECONDS = 1200
TARGETS =

fuzz-smoke: build-fuzz
	fuzz/run 30 $(TARGETS)

fuzz: build-fuzz
	fuzz/run $(SECONDS) $(TARGETS)

build-fuzz: deps
	$(call need,fuzz)
	cmake --preset fuzz
	cmake --build --preset fuzz -j$(JOBS)

# Uses new seeds each time, or those of SEEDS. Failed repositories are in build/fuzz/repositories, named by seed.
COUNT = 100
SEEDS =

fuzz-repositories: build
	build/$(PRESET)/bin/fuzz_repositories $(or $(SEEDS),$(COUNT))

install: build
	DESTDIR='$(DESTDIR)' cmake --install build/$(PRESET) --prefix '$(PREFIX)'

format:
	$(call need,format)
	clang-format -i $$(git ls-files '*.h' '*.cpp')

format-check:
	$(call need,format)
	tools/lint format

tidy: deps
	$(call need,tidy)
	tools/lint tidy

lint: deps
	$(call need,format tidy)
	tools/lint --changed format tidy
