# One shared library of the system: its exported headers in FOLDER/inc, its sources in FOLDER/src and
# the rooms below it, its module name on Windows. INC names other exported headers, SOURCES what is compiled
# beside; ROOMS the folder of rooms of a library that has no src/, of which SOURCES are all. With a
# FILE_DESCRIPTION the Windows module carries a version resource.
function(ko_library target)
  cmake_parse_arguments(arg "" "EXPORT_NAME;FOLDER;INC;ROOMS;MODULE;FILE_DESCRIPTION" "LIBRARIES;SOURCES" ${ARGN})
  if(NOT arg_INC)
    set(arg_INC ${CMAKE_CURRENT_SOURCE_DIR}/${arg_FOLDER}/inc)
  endif()
  set(sources)
  if(NOT arg_ROOMS)
    set(arg_ROOMS ${arg_FOLDER}/src)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${arg_ROOMS}/*.cpp)
  endif()
  list(APPEND sources ${arg_SOURCES})
  add_library(${target} SHARED ${sources})
  add_library(ko::${arg_EXPORT_NAME} ALIAS ${target})
  # Loops that live on the optimiser's work: what other build types ask for is too little.
  set(kernels ${sources})
  list(FILTER kernels INCLUDE REGEX "_kernel\\.cpp$")
  if(kernels)
    set_source_files_properties(${kernels} PROPERTIES COMPILE_OPTIONS "$<$<NOT:$<CONFIG:Debug>>:-O3>")
  endif()
  string(TOUPPER ${target} upper)
  target_compile_definitions(${target} PRIVATE ${upper}_BUILD)
  # For C++ alone: the compiler of Windows resources takes no quoted text. It has a file of its own.
  string(REPLACE "." "," numbers ${PROJECT_VERSION}.${KO_VERSION_FIFTH})
  target_compile_definitions(
    ${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:KO_VERSION_NUMBERS=${numbers}>
                      $<$<COMPILE_LANGUAGE:CXX>:KO_VERSION_TEXT="${PROJECT_VERSION}.${KO_VERSION_FIFTH}">)
  target_include_directories(
    ${target} PUBLIC $<BUILD_INTERFACE:${arg_INC}>
                     $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kotms>)
  # An include of an inner header names its room.
  target_include_directories(${target} PRIVATE ${arg_ROOMS})
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_link_libraries(${target} PUBLIC ${arg_LIBRARIES})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${arg_EXPORT_NAME})

  if(WIN32)
    set_target_properties(${target} PROPERTIES OUTPUT_NAME ${arg_MODULE} PREFIX "")
    if(arg_FILE_DESCRIPTION)
      enable_language(RC)
      set(KO_MODULE ${arg_MODULE})
      set(KO_FILE_DESCRIPTION ${arg_FILE_DESCRIPTION})
      configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc @ONLY)
      target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
    endif()
  else()
    # Nobody replaces a function of the library from outside, so its own calls may be inlined.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    # Templates of the standard library keep default visibility whatever the flags say; the version
    # script takes them back, so that only what a header marks is exported.
    set(map ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    target_link_options(${target} PRIVATE -Wl,--version-script=${map})
    set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION}
                                               SOVERSION ${PROJECT_VERSION_MAJOR}
                                               INSTALL_RPATH "$ORIGIN" LINK_DEPENDS ${map})
    # Clang leaves the sanitizers' functions to the program.
    if(NOT (KO_SANITIZED AND CMAKE_CXX_COMPILER_ID MATCHES Clang))
      target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
  endif()

  install(TARGETS ${target} EXPORT kotmsTargets)
  install(DIRECTORY ${arg_INC}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kotms
          FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
endfunction()

# What makes the installed libraries a package: for CMake's find_package, and for pkg-config.
function(ko_install_package name)
  include(CMakePackageConfigHelpers)
  set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
  install(EXPORT ${name}Targets NAMESPACE ko:: FILE ${name}Config.cmake DESTINATION ${folder})
  write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/${name}ConfigVersion.cmake
                                   COMPATIBILITY SameMajorVersion)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}ConfigVersion.cmake DESTINATION ${folder})
  ko_install_pkgconfig(${name})
endfunction()

# NAME.pc of cmake/NAME.pc.in.
function(ko_install_pkgconfig name)
  set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH KO_PC_TO_PREFIX /${folder} /)
  set(KO_PC_LIBS "-lkotms -lkointl -lkobase")
  if(WIN32)
    set(KO_PC_LIBS "-lMC120Ctms100x64 -lMC120Cin100x64 -lMC120Cbs100x64")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${folder})
endfunction()
