# Front door: `make test` and `make demo` work on a fresh Debian machine.
JOBS ?= $(shell nproc)
# Warnings are errors in CI.
export PDF417SCAN_WERROR ?= $(if $(CI),ON,OFF)

BUILD_PACKAGES := cmake make g++ pkg-config libgtest-dev libbenchmark-dev libzint-dev libstb-dev \
                  nlohmann-json3-dev \
                  gobjc++ libgnustep-base-dev
# Only `make bench` plots: gnuplot stays out of the test and CI packages.
BENCH_PACKAGES := gnuplot-nox
# The fuzz targets build with clang and libFuzzer.
FUZZ_PACKAGES := clang libclang-rt-14-dev
ENSURE := bash scripts/ensure-packages.sh
# The benchmark's corpora, each seed 1, in corpus/<name>/: camera (500 frames at
# 1280x720 and 100 at 1920x1080), crisp, edge, damage, standard and empty.
CORPORA := camera crisp edge damage standard empty
FRAMES_camera := --frames 500 --frames-1080 100
FRAMES_crisp := --frames 300
FRAMES_edge := --frames 200
FRAMES_damage := --frames 150
FRAMES_standard := --frames 200
FRAMES_empty := --frames 200

# `make fuzz` runs every fuzz target this long, one after the other.
FUZZ_SECONDS ?= 60
FUZZ_TARGETS := read reader rs929 rsdecoder decoder multitable polynomial

.PHONY: all deps build test demo bench sanitize fuzz format clean

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

# Read rate and speed over every corpus, generated into the git-ignored corpus/
# when missing (two at a time); report and plots go to build/bench/.
bench: build
	@$(ENSURE) $(BENCH_PACKAGES)
	@$(MAKE) --no-print-directory -j $(JOBS) $(CORPORA:%=corpus/%/index.tsv)
	build/release/bench/readrate $(CORPORA:%=--corpus corpus/%) --out build/bench

# The corpora are deterministic; each is made again whenever synth was rebuilt,
# so none lags behind the generator.
corpus/%/index.tsv: build/release/tools/synth/synth
	rm -rf corpus/$*
	$< --kind $* --out corpus/$* --seed 1 $(FRAMES_$*)

sanitize: deps
	cmake --preset sanitize
	cmake --build --preset sanitize -j $(JOBS)
	ctest --preset sanitize -j $(JOBS)

# Corpora grow in build/fuzz/corpus; a failing input lands in
# build/fuzz/artifacts and stops the run with the end of the target's log.
fuzz: deps
	@$(ENSURE) $(FUZZ_PACKAGES)
	cmake -S . -B build/fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DPDF417SCAN_FUZZ=ON -DPDF417SCAN_WERROR=$(PDF417SCAN_WERROR) \
		-DPDF417SCAN_BUILD_TESTS=OFF -DPDF417SCAN_BUILD_BENCH=OFF -DPDF417SCAN_BUILD_TOOLS=OFF \
		-DPDF417SCAN_INSTALL=OFF -DPDF417SCAN_OBJC=OFF
	cmake --build build/fuzz -j $(JOBS)
	@mkdir -p build/fuzz/artifacts build/fuzz/logs
	@set -e; for t in $(FUZZ_TARGETS); do \
		mkdir -p build/fuzz/corpus/$$t; \
		echo "fuzz_$$t: $(FUZZ_SECONDS) s"; \
		if ! build/fuzz/fuzz/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -timeout=30 \
				-print_final_stats=1 -artifact_prefix=build/fuzz/artifacts/$$t- \
				build/fuzz/corpus/$$t build/fuzz/fuzz/seeds/$$t > build/fuzz/logs/$$t.log 2>&1; then \
			tail -n 60 build/fuzz/logs/$$t.log; exit 1; \
		fi; \
		grep -h 'stat::number_of_executed_units' build/fuzz/logs/$$t.log; \
	done

format:
	git ls-files '*.cpp' '*.h' '*.mm' | xargs clang-format -i

clean:
	rm -rf build
