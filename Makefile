# The newcomer's face of the build; cmake and the presets in CMakePresets.json do the work.

JOBS := $(shell nproc)
PROGRAMS := velmora-host velmora-switch-server VelmoraSwitch

.DEFAULT_GOAL := help
.PHONY: help demo test build clean configure

help:
	@echo 'make demo    see it work: a virtual switch server, the plugin, and a route set through it'
	@echo 'make test    build everything and run the tests'
	@echo 'make build   velmora-host, velmora-switch-server and VelmoraSwitch.bundle, in build/bin/'
	@echo 'make clean   remove build/'

demo: build
	scripts/demo build/bin

test: configure
	cmake --build build --parallel $(JOBS)
	ctest --test-dir build --output-on-failure

build: configure
	cmake --build build --parallel $(JOBS) --target $(PROGRAMS)

configure:
	scripts/install-dependencies
	cmake --preset release

clean:
	rm -rf build
