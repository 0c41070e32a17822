set(system_sources
  windows/command_line.cpp
)
set(system_tests
)
