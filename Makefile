# The commands of the project; cmake does the work. Each installs what it needs from Debian's packages first.

JOBS ?= $(shell nproc)
# Where make install puts everything, below DESTDIR if given.
PREFIX ?= /usr/local
# Seconds that each fuzz target runs.
FUZZ_SECONDS ?= 60

SOURCES = $(shell git ls-files '*.cpp' '*.h' '*.c')

.DEFAULT_GOAL := help
.PHONY: help run test build install deb bench demo screenshots deps format format-check tidy fuzz windows test-windows \
  installer windows-screenshots clean

help:
	@echo "make run           the program; where there is no display the demo, two computers kept in step"
	@echo "make test          all tests, optimised and under the sanitizers"
	@echo "make build         the program as build/zelkor, and build/vandry, which goes to other computers"
	@echo "make install       the program, its help, icons and manual pages below PREFIX=$(PREFIX);"
	@echo "                   DESTDIR is put before it"
	@echo "make deb           a Debian package of all that, in build/"
	@echo "make windows       the program for Windows, 32-bit and 64-bit, in build/windows*/programs"
	@echo "make installer     an installer of each in build/"
	@echo "make test-windows  the tests of both, under Wine"
	@echo "make demo          two computers on this machine, kept in step by files, network and FTP;"
	@echo "                   KEEP=1 leaves their folders"
	@echo "make screenshots   the pictures of docs/tour.md and network.md, taken from the program"
	@echo "make bench         speed beside tar, cp, rsync and unison; writes docs/performance.md"
	@echo "                   and, of the network beside rsync over ssh, docs/network_speed.md"
	@echo "                   (MEDIUM=FOLDER: on that file system, not in memory)"
	@echo "make fuzz          each fuzz target for FUZZ_SECONDS=$(FUZZ_SECONDS) seconds"
	@echo "make tidy          clang-tidy over all sources; what passed is not looked at again until it changes"
	@echo "make format        clang-format over all sources; format-check only looks"
	@echo "make deps          everything that the commands above need"
	@echo "make clean         removes build/"

run: build
	@cmake/deps.sh run
	@if [ -n "$$DISPLAY$$WAYLAND_DISPLAY" ]; then \
	  build/zelkor; \
	else \
	  echo "There is no display; here is the demo."; \
	  $(MAKE) --no-print-directory demo; \
	fi

build:
	@cmake/deps.sh build
	@cmake --preset release >/dev/null
	@cmake --build --preset release -j $(JOBS) --target zelkor vandry
	@ln -f build/release/app/zelkor build/zelkor
	@ln -f build/release/app/zelkor-windows build/zelkor-windows
	@ln -f build/release/vandry/vandry build/vandry
	@ln -f build/release/app/zelkor.hlp build/zelkor.hlp
	@echo "build/zelkor and build/vandry are ready."

install:
	@cmake/deps.sh install
	@cmake --preset release >/dev/null
	@cmake --build --preset release -j $(JOBS) --target zelkor vandry zelkor_pictures
	@DESTDIR='$(DESTDIR)' cmake --install build/release --prefix '$(PREFIX)' --strip >/dev/null
	@[ -n '$(DESTDIR)' ] || packaging/tell_desktop.sh '$(PREFIX)'
	@echo "Installed below $(DESTDIR)$(PREFIX)."

deb:
	@cmake/deps.sh deb
	@packaging/deb.sh $(JOBS)

test:
	@cmake/deps.sh test
	@cmake/servers.sh ftp
	@cmake/test.sh $(JOBS)

# BITS=64 or BITS=32 for one of the two only. The first time takes long: it makes the libraries too.
BITS ?= 64 32
windows:
	@cmake/deps.sh windows
	@cmake/windows/build.sh $(JOBS) $(BITS)

installer: windows
	@cmake/deps.sh installer
	@packaging/windows/installer.sh $(BITS)

test-windows:
	@cmake/deps.sh test-windows
	@cmake/windows/test.sh $(JOBS)

windows-screenshots: build
	@cmake/deps.sh test-windows
	@cmake/windows/build.sh $(JOBS) 64
	@cmake --build --preset release -j $(JOBS) --target zelkor_seed
	@tests/gui/in_display.sh docs/tour/windows.sh build/windows64/programs build/release/demo/zelkor_seed docs/tour

demo: build
	@cmake --build --preset release -j $(JOBS) --target zelkor_seed
	@cmake/servers.sh ftp
	@demo/demo.sh $(if $(KEEP),--keep) --ftp build/ftp-servers build/zelkor build/vandry build/release/demo/zelkor_seed

screenshots: build
	@cmake/deps.sh screenshots
	@cmake --build --preset release -j $(JOBS) --target zelkor_seed
	@for theme in Adwaita Adwaita:dark; do \
	  ZELKOR_THEME=$$theme tests/gui/in_display.sh docs/tour/screenshots.sh \
	    build/zelkor build/release/demo/zelkor_seed docs/tour || exit 1; \
	done
	@tests/gui/in_display.sh docs/tour/pairing.sh build/vandry docs/tour
	@ls -l docs/tour/*.png | awk '{ if ($$5 > 200000) { print $$9 " is over 200 kB"; bad = 1 } } END { exit bad }'

bench: build
	@cmake/deps.sh bench
	@cmake/servers.sh ssh
	@cmake --build --preset release -j $(JOBS) --target zelkor_seed floor measure tell_vandry
	@python3 bench/bench.py --build build/release --report docs/performance.md $(if $(MEDIUM),--medium '$(MEDIUM)')
	@python3 bench/network.py --build build/release --report docs/network_speed.md $(if $(MEDIUM),--medium '$(MEDIUM)')

deps:
	@cmake/deps.sh build run install deb test demo screenshots bench tidy format fuzz windows installer test-windows

format:
	@cmake/deps.sh format
	@clang-format -i $(SOURCES)

format-check:
	@cmake/deps.sh format
	@clang-format --dry-run -Werror $(SOURCES)

# clang cannot read the headers that gcc precompiled, so this build folder goes without them, and every source stands for
# itself.
tidy:
	@cmake/deps.sh tidy
	@cmake -S . -B build/tidy -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON \
	  -DZELKOR_UNITY_TESTS=OFF >/dev/null
	@cmake/windows/compile_commands.sh build/tidy-windows
	@cmake/tidy.py $(JOBS) build/tidy build/tidy-windows

fuzz:
	@cmake/deps.sh fuzz
	@cmake/fuzz.sh $(JOBS) $(FUZZ_SECONDS)

clean:
	@rm -rf build
