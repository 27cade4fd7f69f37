# Front door: `make test` and `make demo` work on a fresh Debian machine.
JOBS ?= $(shell nproc)
# Warnings are errors in CI.
export PDF417SCAN_WERROR ?= $(if $(CI),ON,OFF)

BUILD_PACKAGES := cmake make g++ pkg-config libgtest-dev libbenchmark-dev libzint-dev libstb-dev \
                  nlohmann-json3-dev \
                  gobjc++ libgnustep-base-dev
# Only `make bench` plots: gnuplot stays out of the test and CI packages.
BENCH_PACKAGES := gnuplot-nox
ENSURE := bash scripts/ensure-packages.sh
# The default corpus: seed 1, 500 frames at 1280x720 and 100 at 1920x1080.
CORPUS := corpus/seed1

.PHONY: all deps build test demo bench sanitize format clean

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

# Read rate and speed over the default corpus, generated into the git-ignored
# corpus/ when missing; report and plots go to build/bench/.
bench: build
	@$(ENSURE) $(BENCH_PACKAGES)
	@$(MAKE) --no-print-directory $(CORPUS)/index.tsv
	build/release/bench/readrate --corpus $(CORPUS) --out build/bench

# The corpus is deterministic; it is made again whenever synth was rebuilt, so
# it never lags behind the generator.
$(CORPUS)/index.tsv: build/release/tools/synth/synth
	rm -rf $(CORPUS)
	$< --out $(CORPUS) --seed 1 --frames 500 --frames-1080 100

sanitize: deps
	cmake --preset sanitize
	cmake --build --preset sanitize -j $(JOBS)
	ctest --preset sanitize -j $(JOBS)

format:
	git ls-files '*.cpp' '*.h' '*.mm' | xargs clang-format -i

clean:
	rm -rf build
