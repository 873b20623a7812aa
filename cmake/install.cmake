# Install rules: the library (static unless BUILD_SHARED_LIBS is on), its
# public headers under include/teskpf, the teskpf tool, a CMake package
# (find_package(TeskPf CONFIG) -> TeskPf::teskpf) and a pkg-config file.
option(TESKPF_INSTALL "Generate the install rules" ${PROJECT_IS_TOP_LEVEL})
if(NOT TESKPF_INSTALL)
  return()
endif()

include(CMakePackageConfigHelpers)

set(TESKPF_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/TeskPf"
    CACHE STRING "Where the CMake package files are installed, relative to the prefix")
set(TESKPF_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/teskpf")

install(TARGETS teskpf
  EXPORT TeskPfTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# The modern headers go to include/teskpf/ (#include <teskpf/teskpf.h>). The
# classic class and what it includes (the containers, the platform headers
# for pffiles & co., all from include/) go to include/teskpf/classic/, which
# is on consumers' include path too, so that #include <TeskPf.h> keeps
# working. TeskPf.h is the one installed header outside include/: it sits
# with the classic class in src/lib/utility/, a folder that holds no other
# header.
file(GLOB teskpf_platform_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/pf_*.h)
install(FILES
  ${PROJECT_SOURCE_DIR}/include/Table.h
  ${PROJECT_SOURCE_DIR}/include/Array.h
  ${PROJECT_SOURCE_DIR}/src/lib/utility/TeskPf.h
  ${teskpf_platform_headers}
  DESTINATION ${TESKPF_INSTALL_INCLUDEDIR}/classic)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/teskpf/
  DESTINATION ${TESKPF_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

if(TARGET teskpf-tool)
  # A shared library is found next to the installed tool, wherever the
  # prefix ends up.
  if(BUILD_SHARED_LIBS AND NOT APPLE AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    file(RELATIVE_PATH bin_to_lib "/prefix/${CMAKE_INSTALL_BINDIR}" "/prefix/${CMAKE_INSTALL_LIBDIR}")
    set_target_properties(teskpf-tool PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  endif()
  install(TARGETS teskpf-tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_BINARY_DIR}/tools/teskpf.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_BINARY_DIR}/tools/teskpf.bash
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions RENAME teskpf)
endif()

install(EXPORT TeskPfTargets
  NAMESPACE TeskPf::
  DESTINATION ${TESKPF_INSTALL_CMAKEDIR})

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/TeskPfConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TeskPfConfig.cmake
  INSTALL_DESTINATION ${TESKPF_INSTALL_CMAKEDIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/TeskPfConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/TeskPfConfig.cmake
  ${PROJECT_BINARY_DIR}/TeskPfConfigVersion.cmake
  DESTINATION ${TESKPF_INSTALL_CMAKEDIR})

# pkg-config. The prefix is found from the .pc file's own place, so the
# package can be installed with `cmake --install --prefix` or moved later;
# absolute install dirs are used as they are.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(TESKPF_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH pc_to_prefix "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
  string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
  set(TESKPF_PC_PREFIX "\${pcfiledir}/${pc_to_prefix}")
endif()
foreach(dir IN ITEMS LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    set(TESKPF_PC_${dir} "${CMAKE_INSTALL_${dir}}")
  else()
    set(TESKPF_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/teskpf.pc.in ${PROJECT_BINARY_DIR}/teskpf.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/teskpf.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
