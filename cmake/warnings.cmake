# Compiler warnings for TeskPf's own targets: an INTERFACE target that the
# library, the tool, the tests and the examples link PRIVATE (the library
# through $<BUILD_INTERFACE:...>), so the flags reach neither third-party code
# nor consumers, and nothing about it is exported or installed.
#
# Every flag here is clean on the code today; keep it so. CI may turn on
# TESKPF_WARNINGS_AS_ERRORS to hold the line.
#   -Wnon-virtual-dtor is off: the classic class TeskPf has a virtual
#     function (valueChangedCallback) and, by design, no virtual destructor.
#     For the same reason clang's -Wdelete-non-abstract-non-virtual-dtor is
#     off: it fires wherever a TeskPf is held by value in std::optional.
option(TESKPF_WARNINGS_AS_ERRORS "Treat compiler warnings as errors in TeskPf's own code" OFF)

add_library(teskpf_warnings INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  target_compile_options(teskpf_warnings INTERFACE
    -Wall -Wextra -Wconversion -Wshadow
    $<$<CXX_COMPILER_ID:Clang>:-Wno-delete-non-abstract-non-virtual-dtor>
    $<$<BOOL:${TESKPF_WARNINGS_AS_ERRORS}>:-Werror>)
endif()
