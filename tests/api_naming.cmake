# One naming style in the modern API: run with -DROOT=<source dir>. Fails when
# a header in include/teskpf declares a function in snake_case (functions are
# lowerCamelCase, as in the classic class) or a struct, class or enum whose
# name does not start with a capital. Data members stay snake_case and are not
# looked at; neither are calls (`.value_or(` of std::optional, `std::...(`).
cmake_minimum_required(VERSION 3.16)
set(problems "")

file(GLOB headers RELATIVE ${ROOT} ${ROOT}/include/teskpf/*.h)
foreach(file IN LISTS headers)
  file(STRINGS ${ROOT}/${file} lines)
  set(in_comment FALSE)
  foreach(line IN LISTS lines)
    # Comments may name anything.
    set(code "${line}")
    if(in_comment)
      if(NOT code MATCHES "\\*/")
        continue()
      endif()
      string(REGEX REPLACE "^.*\\*/" "" code "${code}")
      set(in_comment FALSE)
    endif()
    string(REGEX REPLACE "/\\*.*\\*/" "" code "${code}")
    if(code MATCHES "/\\*")
      string(REGEX REPLACE "/\\*.*$" "" code "${code}")
      set(in_comment TRUE)
    endif()
    string(REGEX REPLACE "//.*$" "" code "${code}")
    # A declared name: follows a type (a word, ">", "&" or "*" and a space)
    # and precedes "(". `return f(` is a call; it names a function just the same.
    string(REGEX MATCHALL "[A-Za-z0-9_>&*] +[a-z][a-z0-9]*_[a-z0-9_]* *\\(" names "${code}")
    foreach(name IN LISTS names)
      string(REGEX REPLACE "^.* +([a-z0-9_]+) *\\($" "\\1" name "${name}")
      string(APPEND problems "${file}: function `${name}` is snake_case (use lowerCamelCase): ${line}\n")
    endforeach()
    if(code MATCHES "^ *(enum class|enum|struct|class)( TESKPF_[A-Z]+)? ([a-z_][A-Za-z0-9_]*) *([{;:]|$)")
      string(APPEND problems "${file}: type `${CMAKE_MATCH_3}` is not PascalCase: ${line}\n")
    endif()
  endforeach()
endforeach()

if(problems)
  message(FATAL_ERROR "${problems}")
endif()
