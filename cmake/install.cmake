# What `cmake --install` puts where, in components a distribution packages apart:
#   runtime      libbayhal.so.1
#   development  headers, libbayhal.so, bayhal.pc, the CMake package (find_package(bayhal))
#   tools        hal_tool and its manual page
#   halsim       the virtual appliance and its manual page; only on request
#                (cmake --install BUILD --component halsim)
# Installed programs find the library through $ORIGIN, so any prefix works; a distribution
# installing into /usr sets CMAKE_SKIP_INSTALL_RPATH=ON.
include(CMakePackageConfigHelpers)

set(bayhal_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/bayhal)
file(RELATIVE_PATH bayhal_lib_from_bin /${CMAKE_INSTALL_SBINDIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(hal_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${bayhal_lib_from_bin}")

install(TARGETS bayhal EXPORT bayhalTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY include/bayhal DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT bayhalTargets NAMESPACE bayhal:: DESTINATION ${bayhal_cmake_dir} COMPONENT development)
configure_package_config_file(cmake/bayhalConfig.cmake.in ${CMAKE_BINARY_DIR}/bayhalConfig.cmake
  INSTALL_DESTINATION ${bayhal_cmake_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/bayhalConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/bayhalConfig.cmake ${CMAKE_BINARY_DIR}/bayhalConfigVersion.cmake
  DESTINATION ${bayhal_cmake_dir} COMPONENT development)

# The .pc names the prefix relative to its own folder, so the tree works wherever it lands.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(bayhal_pc_prefix "${CMAKE_INSTALL_PREFIX}")
  set(bayhal_pc_libdir "${CMAKE_INSTALL_LIBDIR}")
else()
  file(RELATIVE_PATH bayhal_up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" bayhal_up "${bayhal_up}")
  set(bayhal_pc_prefix "\${pcfiledir}/${bayhal_up}")
  set(bayhal_pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(bayhal_pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
else()
  set(bayhal_pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file(cmake/bayhal.pc.in ${CMAKE_BINARY_DIR}/bayhal.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/bayhal.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

# Manual pages written from the programs' own --help, so they cannot drift from them.
if(NOT CMAKE_CROSSCOMPILING)
  set(bayhal_man_pages)
  foreach(page hal_tool:8:tools halsim:1:halsim)
    string(REPLACE ":" ";" parts ${page})
    list(GET parts 0 prog)
    list(GET parts 1 section)
    list(GET parts 2 component)
    set(out ${CMAKE_BINARY_DIR}/man/${prog}.${section})
    add_custom_command(OUTPUT ${out}
      COMMAND bash ${CMAKE_SOURCE_DIR}/cmake/man_from_help.sh $<TARGET_FILE:${prog}> ${section}
              ${PROJECT_VERSION} ${out}
      DEPENDS ${prog} ${CMAKE_SOURCE_DIR}/cmake/man_from_help.sh
      COMMENT "Writing the manual page of ${prog}")
    list(APPEND bayhal_man_pages ${out})
    set(optional)
    if(component STREQUAL "halsim")
      set(optional EXCLUDE_FROM_ALL)
    endif()
    install(FILES ${out} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component} ${optional})
  endforeach()
  add_custom_target(man_pages ALL DEPENDS ${bayhal_man_pages})
endif()
