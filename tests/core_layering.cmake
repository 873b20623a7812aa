# The core stands on its own: run with -DROOT=<source dir>. Fails when a file
# below the classic class includes its header TeskPf.h (or teskpf/classic.h),
# when the tool or the bindings include it other than as the public
# <TeskPf.h>, or when the core throws or catches a std::string, which only the
# classic class does, at its edge.
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

file(GLOB_RECURSE user_files RELATIVE ${ROOT} ${ROOT}/tools/*.h ${ROOT}/tools/*.cpp ${ROOT}/python/src/*.h
  ${ROOT}/python/src/*.cpp)
foreach(file IN LISTS user_files)
  file(STRINGS ${ROOT}/${file} lines REGEX "^#include \"")
  foreach(line IN LISTS lines)
    if(line MATCHES "^#include \"(TeskPf\\.h|detail/)")
      string(APPEND problems "${file}: includes a library header as its own: ${line}\n")
    endif()
  endforeach()
endforeach()

if(problems)
  message(FATAL_ERROR "${problems}")
endif()
