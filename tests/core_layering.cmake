# The core stands on its own: run with -DROOT=<source dir>. Fails when a file
# below the classic class includes its header TeskPf.h (or teskpf/classic.h),
# when the tool or the bindings include it other than as the public
# <TeskPf.h> or use an internal header of the library, or when the core
# throws or catches a std::string, which only the classic class does, at its
# edge.
cmake_minimum_required(VERSION 3.16)
set(classic_files
  src/lib/utility/TeskPf.h src/lib/utility/TeskPf.cpp src/lib/utility/Classic.cpp include/teskpf/classic.h)
set(problems "")

file(GLOB_RECURSE core_files RELATIVE ${ROOT}
  ${ROOT}/src/*.h ${ROOT}/src/*.cpp ${ROOT}/include/*.h ${ROOT}/platform/*.h ${ROOT}/platform/*.cpp)
foreach(file IN LISTS core_files)
  if(file IN_LIST classic_files)
    continue()
  endif()
  file(STRINGS ${ROOT}/${file} lines)
  foreach(line IN LISTS lines)
    if(line MATCHES "^#include [\"<](TeskPf\\.h|teskpf/classic\\.h)[\">]")
      string(APPEND problems "${file}: includes the classic header: ${line}\n")
    endif()
    if(line MATCHES "throw \"|throw std::string|throw string\\(|catch \\(const std::string")
      string(APPEND problems "${file}: a std::string error below the classic class: ${line}\n")
    endif()
  endforeach()
endforeach()

# The tool and the bindings use the installed headers only: no header of the
# library's stages (src/lib/<stage>/), nor TeskPf.h as a header of their own.
file(GLOB_RECURSE user_files RELATIVE ${ROOT} ${ROOT}/tools/*.h ${ROOT}/tools/*.cpp ${ROOT}/python/src/*.h
  ${ROOT}/python/src/*.cpp)
foreach(file IN LISTS user_files)
  file(STRINGS ${ROOT}/${file} lines REGEX "^#include \"")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" included "${line}")
    if(included STREQUAL "TeskPf.h" OR EXISTS ${ROOT}/src/lib/${included})
      string(APPEND problems "${file}: includes a library header as its own: ${line}\n")
    endif()
  endforeach()
endforeach()

# The stages of src/lib/ point down: each includes only the stages before it
# in this order.
set(stages syntax files parsing checks store generating diagnostics saving editing api watching utility)
set(below "")
foreach(stage IN LISTS stages)
  file(GLOB stage_files RELATIVE ${ROOT} ${ROOT}/src/lib/${stage}/*)
  foreach(file IN LISTS stage_files)
    file(STRINGS ${ROOT}/${file} lines REGEX "^#include \"[a-z]+/")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^#include \"([a-z]+)/.*" "\\1" included "${line}")
      if(included IN_LIST stages AND NOT included STREQUAL stage AND NOT included IN_LIST below)
        string(APPEND problems "${file}: the ${stage} stage includes a later stage: ${line}\n")
      endif()
    endforeach()
  endforeach()
  list(APPEND below ${stage})
endforeach()

if(problems)
  message(FATAL_ERROR "${problems}")
endif()
