# A thin front to CMake: what to type first. Everything is built by CMakeLists.txt and CMakePresets.json.

PRESET ?= release
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
PREFIX ?= /usr/local
IMPORT_OPTIONS ?=

# Without REPOS the import is the example's, and its target under build/ is made anew each time.
# A target that the user named is never touched before the import, which refuses one that isn't empty.
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
	@echo 'make bench-history    how fast histories of any size are read (HISTORY=options of bench/history.py);'
	@echo '               its table is what bench/RESULTS.md holds'
	@echo 'make bench-retrieve   how fast file revisions come out of a repository (RETRIEVE=options)'
	@echo 'make faults    play faults to the programs, print a table  (FAULTS=options of tests/faults/run)'
	@echo 'make fuzz-smoke       let fuzzers look for faults, 30 seconds for each target'
	@echo 'make fuzz             the same for longer                 (SECONDS=1200, TARGETS=all)'
	@echo 'make fuzz-repositories  import random repositories and hold them against cvs  (COUNT=100, SEEDS=1..50)'
	@echo 'make deps      install the Debian packages that are missing (NO_DEPS=1: never install any)'
	@echo 'make format    format the sources                       (make format-check: only say which need it)'
	@echo 'make tidy      let clang-tidy read the sources, minutes'
	@echo 'make lint      both checks for the files that a change touches (tools/lint --help)'

# $(call need,GROUP...): the packages of these groups of tools/packages.txt.
need = $(if $(NO_DEPS),@:,@tools/install-packages $(1))

deps:
	$(call need,import build)

build: deps
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET) -j$(JOBS)

import-deps:
	$(call need,import)

# Without tests, fuzz targets and benchmarks, which take most of the time of `build`.
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

# Moved into place when it is whole, so that an interrupted run leaves no half repository behind.
$(EXAMPLE)/repository: examples/make-repository | import-deps
	@mkdir -p $(EXAMPLE)
	@rm -rf $@ $@.new
	examples/make-repository $@.new
	@mv $@.new $@

test: build
	ctest --preset $(PRESET) -j$(JOBS)

# Exits with an error when a test failed or valgrind found something; it is in build/memcheck then.
PROGRAMS =

memcheck: PRESET = release
memcheck: build
	$(call need,memcheck)
	tests/memcheck/run --bin '$(CURDIR)'/build/$(PRESET)/bin $(PROGRAMS)

# Minutes. Needs the right to mount: root, or user namespaces.
faults: PRESET = release
faults: build
	$(call need,peers)
	tests/faults/run --bin '$(CURDIR)'/build/$(PRESET)/bin $(FAULTS)

bench: PRESET = release
bench: deps
	$(call need,bench)
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET) --target bench

# The real log is measured where it lies beside the project.
REAL_LOG = ../shared/rlogs/ncvs-src.rlog.xz

bench-history: PRESET = release
bench-history: build
	$(call need,bench peers)
	cmake --build --preset $(PRESET) --target make-history
	@if test -f $(REAL_LOG); then xz -dc $(REAL_LOG) > build/real.rlog; fi
	bench/history.py --bin '$(CURDIR)'/build/$(PRESET)/bin $$(test -f build/real.rlog && echo --log build/real.rlog) \
	  $(HISTORY)

# Minutes: whole imports, over lines of several latencies.
bench-retrieve: PRESET = release
bench-retrieve: build
	$(call need,peers)
	bench/retrieve.py --bin '$(CURDIR)'/build/$(PRESET)/bin $(RETRIEVE)

# Both exit with an error when something was found; the inputs are in build/fuzz/finds then.
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

# New seeds each time, or those of SEEDS. What failed is in build/fuzz/repositories, by its seed.
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
