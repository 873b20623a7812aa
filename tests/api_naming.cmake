# One naming style in the modern API: run with -DROOT=<source dir>. Fails when
# a header in include/teskpf declares a function in snake_case (functions are
# lowerCamelCase, as in the classic class) or a struct, class or enum whose
# name does not start with a capital. Data members stay snake_case and are not
# looked at; neither are calls (`.value_or(` of std::optional, `std::...(`).
cmake_minimum_required(VERSION 3.16)
set(problems "")

file(GLOB headers RELATIVE ${ROOT} ${ROOT}/include/teskpf/*.h)
foreach(file IN LISTS headers)
  file(READ ${ROOT}/${file} code)
  # Comments may name anything.
  string(REGEX REPLACE "/\\*([^*]|\\*+[^*/])*\\*+/" "" code "${code}")
  string(REGEX REPLACE "//[^\n]*" "" code "${code}")
  # ";" would split the matches below, which are CMake lists.
  string(REPLACE ";" "\n" code "${code}")
  # A declared name follows a type (a word, ">", "&" or "*" and a space) and
  # precedes "(". `return f(` is a call; it names a function just the same.
  string(REGEX MATCHALL "[A-Za-z0-9_>&*][ \t\n]+[a-z][a-z0-9]*_[a-z0-9_]*[ \t]*\\(" functions "${code}")
  string(REGEX MATCHALL "(enum class|enum|struct|class)( TESKPF_[A-Z]+)? [a-z_][A-Za-z0-9_]*[ \t]*[{:\n]" types
         "${code}")
  foreach(found IN LISTS functions)
    string(REGEX REPLACE "^.[ \t\n]+([a-z0-9_]+)[ \t]*\\($" "\\1" name "${found}")
    string(APPEND problems "${file}: function `${name}` is snake_case; functions are lowerCamelCase\n")
  endforeach()
  foreach(found IN LISTS types)
    string(REGEX REPLACE "^.* ([a-z_][A-Za-z0-9_]*)[ \t]*.$" "\\1" name "${found}")
    string(APPEND problems "${file}: type `${name}` does not start with a capital; types are PascalCase\n")
  endforeach()
endforeach()

if(problems)
  message(FATAL_ERROR "${problems}")
endif()
