set(system_sources
)
set(system_tests
)
