# SPDX-License-Identifier: Apache-2.0
# The short way: `make run` and `make test` install what is missing (Debian), build and go.

FILE ?= examples/welcome.eml
mimetree := build/release/cli/mimetree

.PHONY: build run test packages clean

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

test: build
	ctest --preset release

packages:
	@cmake/install-packages.sh build

clean:
	rm -rf build
