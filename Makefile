# The commands of the project; cmake does the work.
.PHONY: run test build bench demo deps format tidy fuzz clean

build:
	cmake --preset release >/dev/null && cmake --build --preset release
