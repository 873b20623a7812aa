# Node::get<T>() and valueOr() with a type they do not read must fail to
# compile with the static_assert's message, not compile and then fail to link.
# Each case is a one-line body compiled alone; the first must compile, so that
# a broken include path cannot pass for a refusal.
# Run with -DCXX=compiler -DINCLUDE=include dir -DWORK=scratch dir.
set(message "T must be an integer type \\(not a character type\\), float, double, long double, bool")
set(accepted "return n.get<short>().has_value() + n.get<unsigned long long>().has_value() + n.get<float>().has_value() + n.get<long double>().has_value() + n.get<std::vector<std::string>>().has_value() + n.valueOr(1) + static_cast<int>(n.valueOr(1.5f))")
set(refused
    "return n.get<char>().has_value()"
    "return n.get<char32_t>().has_value()"
    "return n.get<const char *>().has_value()"
    "return n.get<std::string_view>().has_value()"
    "return n.get<std::vector<int>>().has_value()"
    "return n.valueOr(nullptr) == nullptr")
file(MAKE_DIRECTORY ${WORK})
set(index 0)
foreach(body IN LISTS accepted refused)
  set(source ${WORK}/case${index}.cpp)
  file(WRITE ${source} "#include <teskpf/node.h>\nint read(const teskpf::Node &n) { ${body}; }\n")
  execute_process(COMMAND ${CXX} -std=c++17 -fsyntax-only -I${INCLUDE} ${source} RESULT_VARIABLE result
                  ERROR_VARIABLE errors OUTPUT_QUIET)
  if(index EQUAL 0)
    if(NOT result EQUAL 0)
      message(FATAL_ERROR "the accepted types do not compile: ${body}\n${errors}")
    endif()
  elseif(result EQUAL 0)
    message(FATAL_ERROR "compiles but should not: ${body}")
  elseif(NOT errors MATCHES "${message}")
    message(FATAL_ERROR "fails without the readable message: ${body}\n${errors}")
  endif()
  math(EXPR index "${index} + 1")
endforeach()
