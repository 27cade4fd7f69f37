# Front door: `make test` and `make demo` work on a fresh Debian machine.
JOBS ?= $(shell nproc)
# Warnings are errors in CI.
export PDF417SCAN_WERROR ?= $(if $(CI),ON,OFF)

BUILD_PACKAGES := cmake make g++ pkg-config libgtest-dev libbenchmark-dev libzint-dev libstb-dev \
                  nlohmann-json3-dev \
                  gobjc++ libgnustep-base-dev
ENSURE := bash scripts/ensure-packages.sh

.PHONY: all deps build test demo sanitize format clean

all: build

deps:
	@$(ENSURE) $(BUILD_PACKAGES)

build: deps
	cmake --preset release
	cmake --build --preset release -j $(JOBS)

test: build
	ctest --preset release -j $(JOBS)

# Builds only the scanner, then reads every bundled frame.
demo: deps
	cmake --preset release
	cmake --build --preset release -j $(JOBS) --target pdf417scan_cli
	@build/release/tools/pdf417scan samples/*.png

sanitize: deps
	cmake --preset sanitize
	cmake --build --preset sanitize -j $(JOBS)
	ctest --preset sanitize -j $(JOBS)

format:
	git ls-files '*.cpp' '*.h' '*.mm' | xargs clang-format -i

clean:
	rm -rf build
