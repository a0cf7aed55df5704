# SPDX-License-Identifier: Apache-2.0
# The short way: `make run` and `make test` install what is missing (Debian), build and go.

FILE ?= examples/welcome.eml
mimetree := build/release/cli/mimetree

.PHONY: build run test web amalgamate package portable bench bench-archive stress docs peers fuzz \
    coverage equality check-all packages clean

build: packages
	@cmake --preset release >/dev/null
	cmake --build --preset release

run: packages
	@cmake --preset release >/dev/null
	cmake --build --preset release --target mimetree-cli
	$(mimetree) tree "$(FILE)"
	@echo
	$(mimetree) headers "$(FILE)"
	@echo
	$(mimetree) body "$(FILE)"
	@echo
	$(mimetree) rewrite "$(FILE)" >build/again.eml
	@for look in tree headers body; do \
	    $(mimetree) $$look "$(FILE)" >build/once && \
	    $(mimetree) $$look build/again.eml | cmp - build/once || exit 1; \
	done; echo "Written back and read again, it is the same."

test: python-packages build
	@$(MAKE) --no-print-directory web || echo "the package for browsers and Node is skipped"
	ctest --preset release

# The package for browsers and Node, and the page that needs no server: build/web.
web:
	@cmake/install-packages.sh web $(if $(shell command -v npm),,npm) || echo "going on without"
	web/build.sh
	tests/web/fetch.sh || echo "going on without the browser's driver: the tests of the page are skipped"

# The library as two files, mimetree.h and mimetree.cpp: g++ -std=c++20 -O2 -c mimetree.cpp
amalgamate: packages
	python3 packaging/amalgamate.py build/amalgamation

# Debian packages and a .tar.gz, checked by lintian, in build/package; then installed and used in a
# fresh root, and the other systems' recipes tried.
package:
	@cmake/install-packages.sh build package
	packaging/debian/build.sh . build/package
	packaging/debian/clean_root.sh . build/package
	packaging/try/recipes.sh . build/recipes

# The library and its tests on other machines, in emulators: aarch64, s390x, i386, libc++, gcc, mingw.
portable:
	@cmake/install-packages.sh build portable
	packaging/portable.sh . build/portable $(PORTABLE)

# Measures the engine beside other libraries; writes docs/benchmarks.md, but for what the next does.
bench: peers
	python3 bench/compare.py build/bench docs

# Measures the program over 100,000 mails beside others; takes half an hour and 4 GB of disk.
bench-archive: packages
	@cmake/install-packages.sh bench
	@cmake --preset release >/dev/null
	cmake --build --preset release --target mimetree-cli
	python3 bench/archive_compare.py $(mimetree) docs

# Attacks it beside the same libraries; writes docs/robustness.md.
stress: peers
	python3 bench/stress.py build/bench docs

# The documentation as a site, build/docs/index.html; no public name is without a word.
docs:
	@cmake/install-packages.sh docs
	docs/site/build.sh

peers:
	@cmake/install-packages.sh build bench
	@cmake -G Ninja -B build/bench -DCMAKE_BUILD_TYPE=Release -DMIMETREE_BUILD_TESTS=OFF \
	    -DMIMETREE_BUILD_BENCH=ON -DMIMETREE_BENCH_PEERS=ON >/dev/null
	cmake --build build/bench

# Runs each fuzz target for a minute, or FUZZ_SECONDS.
FUZZ_SECONDS ?= 60
fuzz:
	@cmake/install-packages.sh build fuzz
	fuzz/run.sh $(FUZZ_SECONDS)

# Tells which lines of the engine the fuzz targets reach.
coverage:
	@cmake/install-packages.sh build fuzz
	fuzz/coverage.sh

# Compares what this engine makes of half a million mails, and of those in FOLDERS, with what that of
# COMMIT does (the last release).
COMMIT ?= $(shell git describe --tags --abbrev=0 2>/dev/null)
equality: packages
	@[ -n "$(COMMIT)" ] || { echo "no tag to compare with: make equality COMMIT=..." >&2; exit 2; }
	fuzz/equality.sh $(COMMIT) $(FOLDERS)

# What takes longer than .ci/run may: everything in it, the recipes of other systems, then each fuzz
# target for twenty minutes and the search for input that costs more than linear time for thirty.
check-all:
	.ci/run
	packaging/try/recipes.sh . build/recipes
	fuzz/run.sh 1200
	build/release/fuzz/linear 1800

packages:
	@cmake/install-packages.sh build || echo "going on without: what needs it is skipped"

.PHONY: python-packages
python-packages:
	@cmake/install-packages.sh python || echo "the tests of the Python package are skipped, or some of them"

clean:
	rm -rf build
