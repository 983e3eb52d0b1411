# The one entry point: make deps | build | test | sanitize | demo | bench | soak | fuzz | package | screenshots
BUILD      ?= build
SAN_BUILD  ?= build-sanitize
BENCH_BUILD ?= build-bench
FUZZ_BUILD ?= build-fuzz
JOBS       ?= 2
# Each fuzz target runs FUZZ_SECONDS, or FUZZ_RUNS executions when that is
# given; FUZZ_TARGETS (names such as quorvel_csv_fuzz) picks some of them.
FUZZ_SECONDS ?= 60
FUZZ_RUNS  ?=
FUZZ_TARGETS ?=
SOAK_BUILD ?= build-soak
SOAK_SECONDS ?= 3600
# The sample's requests every 100 ms instead of every second or two: ten times the traffic.
SOAK_ARGS ?= --period 100
# Warnings are errors in CI, and advice on a developer's machine.
WERROR     ?= $(if $(CI),ON,OFF)

CMAKE_FLAGS = -DQUORVEL_WERROR=$(WERROR)

.PHONY: all deps build test sanitize demo bench soak fuzz package screenshots clean

all: build

deps:
	@tools/install-deps.sh

build: deps
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j$(JOBS)

# A test that fails is run once more before it counts: the interoperability
# tests pace pseudo-terminals in real time, and a machine loaded by the other
# job can hold a byte back past a frame's end now and then. A real fault
# fails both runs.
test: build
	cd $(BUILD) && ctest -j$(JOBS) --output-on-failure --repeat until-pass:2

sanitize: deps
	cmake -S . -B $(SAN_BUILD) $(CMAKE_FLAGS) -DQUORVEL_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
	cmake --build $(SAN_BUILD) -j$(JOBS)
	cd $(SAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest -j$(JOBS) --output-on-failure

# The sample meter emulated on COM2 and polled on COM1 over a virtual line;
# DEMO_SECONDS=0 runs until Ctrl+C.
DEMO_SECONDS ?= 0
demo: build
	$(BUILD)/bin/quorvel-cli demo --seconds $(DEMO_SECONDS)

# The Debian package, from a Release build of its own (stripped as it is
# packed), written into $(PKG_BUILD)/.
PKG_BUILD ?= build-package
package: deps
	cmake -S . -B $(PKG_BUILD) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Release -DQUORVEL_TESTS=OFF
	cmake --build $(PKG_BUILD) -j$(JOBS)
	cd $(PKG_BUILD) && cpack -G DEB

# The guide's screenshots, taken on a virtual screen and saved in
# docs/screenshots/; the build then prints them into QuickStart.pdf.
screenshots: build
	xvfb-run -a -s "-screen 0 1280x800x24" tools/screenshots.sh $(BUILD) docs/screenshots
	cmake --build $(BUILD) -j$(JOBS)

bench: deps
	cmake -S . -B $(BENCH_BUILD) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Release -DQUORVEL_BENCH=ON -DQUORVEL_TESTS=OFF
	cmake --build $(BENCH_BUILD) -j$(JOBS)
	@for b in $(BENCH_BUILD)/bin/*_bench; do echo "== $$b"; $$b || exit 1; done

# A Master and a Slave on a paced virtual line at 19200 baud that damages one
# character in a thousand, for SOAK_SECONDS; a table a minute (memory, polls,
# faults, errors, wrong values) and a verdict. Not part of `make test`.
soak: deps
	cmake -S . -B $(SOAK_BUILD) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Release -DQUORVEL_SOAK=ON -DQUORVEL_TESTS=OFF -DQUORVEL_GUI=OFF
	cmake --build $(SOAK_BUILD) -j$(JOBS) --target quorvel_soak
	$(SOAK_BUILD)/bin/quorvel_soak --seconds $(SOAK_SECONDS) $(SOAK_ARGS)

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DQUORVEL_FUZZ=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(FUZZ_BUILD) -j$(JOBS) --target quorvel_fuzz
	@names="$(FUZZ_TARGETS)"; [ -n "$$names" ] || names=$$(cd $(FUZZ_BUILD)/bin && ls *_fuzz); \
	for name in $$names; do \
	  f=$(FUZZ_BUILD)/bin/$$name; corpus=$(FUZZ_BUILD)/corpus/$$name; mkdir -p $$corpus; \
	  seeds=tests/fuzz/seeds/$$name; [ -d $$seeds ] || seeds=; \
	  if [ -n "$(FUZZ_RUNS)" ]; then limit=-runs=$(FUZZ_RUNS); what="$(FUZZ_RUNS) runs"; \
	  else limit=-max_total_time=$(FUZZ_SECONDS); what="$(FUZZ_SECONDS) s"; fi; \
	  echo "== $$name for $$what"; \
	  $$f $$limit -print_final_stats=1 $$corpus $$seeds || exit 1; \
	done

clean:
	rm -rf $(BUILD) $(SAN_BUILD) $(BENCH_BUILD) $(FUZZ_BUILD) $(PKG_BUILD) $(SOAK_BUILD)
