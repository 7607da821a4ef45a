# The newcomer's way in; cmake and the presets in CMakePresets.json do the work.

JOBS := $(shell nproc)
# Tests mostly wait, so run more of them than there are processors.
TESTS_AT_A_TIME := $(shell echo $$((3 * $(JOBS))))
PROGRAMS := velmora-host velmora-plugin-check velmora-switch-server VelmoraSwitch

.DEFAULT_GOAL := help
.PHONY: help demo workbench screenshots test bench package build clean configure

help:
	@echo 'make demo         see it work: a virtual switch server, the plugin, and a route set through it'
	@echo 'make workbench    use it: the same in a window; VELMORA_SETTINGS=FILE names the file of its settings'
	@echo 'make test         build everything and run the tests'
	@echo 'make bench        measure it and write build/bench.json and docs/performance.md (some minutes on a quiet machine)'
	@echo 'make build        velmora-host, velmora-plugin-check, velmora-switch-server and VelmoraSwitch.bundle, in build/'
	@echo 'make package      Debian packages, in build/packages/; "sudo apt install ./build/packages/*.deb" installs them'
	@echo 'make screenshots  retake the pictures in docs/images/ (needs the packages xvfb, xdotool and imagemagick)'
	@echo 'make clean        remove build/'

demo: build
	scripts/demo build/bin

workbench: build
	scripts/workbench build/bin

screenshots: build
	scripts/screenshots build/bin

test: configure
	scripts/install-dependencies test
	cmake --build build --parallel $(JOBS)
	ctest --test-dir build --output-on-failure --parallel $(TESTS_AT_A_TIME)

bench: configure
	scripts/install-dependencies bench
	cmake --preset release -DVELMORA_BUILD_BENCH=ON
	cmake --build build --parallel $(JOBS) --target velmora-bench
	scripts/bench build/bin --json build/bench.json
	scripts/performance-page build/bench.json

package:
	scripts/install-dependencies package
	scripts/package

build: configure
	cmake --build build --parallel $(JOBS) --target $(PROGRAMS)

configure:
	scripts/install-dependencies
	cmake --preset release

clean:
	rm -rf build
