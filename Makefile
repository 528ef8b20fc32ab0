# The commands of the project; the work is CMake's (CMakePresets.json).
PREFIX ?= /usr/local
JOBS ?= $(shell nproc)
EXECUTABLE = build/release/bin/orvo

.PHONY: help demo test bench install executable
.DEFAULT_GOAL := help

help:
	@echo 'make demo      build orvo and run the demonstration'
	@echo 'make test      build orvo, the test firmware and the tests, and run them'
	@echo 'make bench     measure the simulator, and compare it with qemu-system-arm'
	@echo 'make install   install below PREFIX ($(PREFIX)): make install PREFIX=DIRECTORY'
	@echo
	@echo 'Each installs the Debian packages that it lacks (scripts/packages.txt).'
	@echo 'JOBS=N sets the number of compilers at a time ($(JOBS)).'

executable:
	@scripts/install_packages.sh build
	@cmake --preset release -DORVO_TESTS=OFF -DORVO_BENCH=OFF --log-level=WARNING
	@cmake --build --preset release -j $(JOBS) --target orvo

demo: executable
	@examples/demo/run $(EXECUTABLE)
	@echo 'Your own image: $(EXECUTABLE) --mcu nrf52832 --image app.hex --uart_output'

test:
	@scripts/install_packages.sh build test
	@cmake --preset dev -DORVO_BENCH=OFF
	@cmake --build --preset dev -j $(JOBS)
	@ctest --preset dev -j $(JOBS)

bench:
	@scripts/install_packages.sh build bench
	@cmake --preset release -DORVO_TESTS=OFF -DORVO_BENCH=ON --log-level=WARNING
	@cmake --build --preset release -j $(JOBS)
	@build/release/bin/orvo_bench
	@python3 scripts/bench_workload.py $(EXECUTABLE) build/release/firmware
	@python3 bench/control_connection.py $(EXECUTABLE) build/release/firmware

# Under sudo the build stays with the user who called it. The manifest would be root's.
install:
	@$${SUDO_USER:+sudo -u "$$SUDO_USER"} $(MAKE) --no-print-directory executable
	@cmake --install build/release --prefix "$$(realpath -m "$(PREFIX)")"
	@rm -f build/release/install_manifest.txt
