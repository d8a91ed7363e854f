# One function per kind of target: flags, the precompiled header and the environment of tests are set here only.

set(TAVRIN_WARNINGS -Wall -Wextra -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # The documented entry points have C linkage and return a class of the host by value.
  list(APPEND TAVRIN_WARNINGS -Wno-return-type-c-linkage)
endif()
if(TAVRIN_WERROR)
  list(APPEND TAVRIN_WARNINGS -Werror)
endif()

# All targets have the same flags, so that they can share one precompiled header.
add_compile_options(-fPIC)
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_DEPRECATED_WARNINGS)
if(TAVRIN_SANITIZE)
  add_compile_options(-fsanitize=${TAVRIN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${TAVRIN_SANITIZE})
endif()
if(TAVRIN_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link -O1)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
find_program(TAVRIN_LLD ld.lld)
if(TAVRIN_LLD)
  add_link_options(-fuse-ld=lld)
endif()

file(WRITE "${CMAKE_BINARY_DIR}/tavrin_pch.cpp.in" "// Source of the target that owns the shared precompiled header.\n")
configure_file("${CMAKE_BINARY_DIR}/tavrin_pch.cpp.in" "${CMAKE_BINARY_DIR}/tavrin_pch.cpp" COPYONLY)
add_library(tavrin_pch OBJECT "${CMAKE_BINARY_DIR}/tavrin_pch.cpp")
target_link_libraries(tavrin_pch PRIVATE Qt5::Widgets Qt5::Network)
target_precompile_headers(tavrin_pch PRIVATE <QtCore> <QtWidgets> <QtNetwork> <functional> <map> <memory> <set> <string> <vector>)
set_target_properties(tavrin_pch PROPERTIES AUTOMOC OFF)

function(tavrin_common target)
  target_compile_options(${target} PRIVATE ${TAVRIN_WARNINGS})
  target_link_libraries(${target} PUBLIC Qt5::Widgets Qt5::Network)
  set_target_properties(${target} PROPERTIES DEFINE_SYMBOL "")
  target_precompile_headers(${target} REUSE_FROM tavrin_pch)
  # Empty, because each source includes its own moc file; reading the precompiled header would take a second.
  set_source_files_properties("${CMAKE_CURRENT_BINARY_DIR}/${target}_autogen/mocs_compilation.cpp" PROPERTIES
    SKIP_PRECOMPILE_HEADERS ON)
endfunction()

# tavrin_library(name [SHARED] SOURCES file... [LIBS target...]): a static (or shared) library.
function(tavrin_library name)
  cmake_parse_arguments(ARG "SHARED" "" "SOURCES;LIBS" ${ARGN})
  if(ARG_SHARED)
    add_library(${name} SHARED ${ARG_SOURCES})
  else()
    add_library(${name} STATIC ${ARG_SOURCES})
  endif()
  tavrin_common(${name})
  target_link_libraries(${name} PUBLIC ${ARG_LIBS})
endfunction()

# tavrin_objects(name SOURCES file... [LIBS target...]): one layer of the plug-in. Its tests link it without higher layers.
function(tavrin_objects name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} OBJECT ${ARG_SOURCES})
  tavrin_common(${name})
  target_link_libraries(${name} PUBLIC ${ARG_LIBS})
endfunction()

# tavrin_program(name SOURCES file... [LIBS target...]): an executable in <build>/bin.
function(tavrin_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  tavrin_common(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
endfunction()

# tavrin_plugin(name SOURCES file... [LIBS target...]): the host plug-in <build>/plug-ins/<name>.so. It exports only the two
# entry points. It stays mapped after unloading, because Qt caches keys that are in the module's read-only data.
function(tavrin_plugin name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} MODULE ${ARG_SOURCES})
  tavrin_common(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  target_link_options(${name} PRIVATE -Wl,-z,nodelete "-Wl,--version-script=${CMAKE_SOURCE_DIR}/cmake/plugin.map")
  set_target_properties(${name} PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/plug-ins"
    LINK_DEPENDS "${CMAKE_SOURCE_DIR}/cmake/plugin.map")
endfunction()

# tavrin_test(name SOURCES file... [LIBS target...] [LOCK name]): a QtTest program, run with its own HOME and without a
# display. Tests with the same LOCK do not run at the same time.
function(tavrin_test name)
  cmake_parse_arguments(ARG "" "LOCK" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  tavrin_common(${name})
  target_link_libraries(${name} PRIVATE Qt5::Test ${ARG_LIBS})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  add_test(NAME ${name} COMMAND "${CMAKE_SOURCE_DIR}/tests/support/in-clean-home" $<TARGET_FILE:${name}>)
  set_tests_properties(${name} PROPERTIES TIMEOUT 300 ENVIRONMENT
    "QT_QPA_PLATFORM=offscreen;LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/cmake/lsan.supp:print_suppressions=0;UBSAN_OPTIONS=print_stacktrace=1")
  if(ARG_LOCK)
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK ${ARG_LOCK})
  endif()
endfunction()

# tavrin_fuzzer(name SOURCES file... [LIBS target...]): a libFuzzer program in <build>/fuzz. Requires TAVRIN_FUZZ.
function(tavrin_fuzzer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  tavrin_common(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  set_target_properties(${name} PROPERTIES AUTOMOC OFF RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/fuzz")
endfunction()

# tavrin_import(name root): uses <name>/<name>.h and the library of an installed SDK instead of the stand-in.
function(tavrin_import name root)
  string(TOUPPER ${name} upper)
  find_path(${upper}_INCLUDE_DIR ${name}/${name}.h PATHS "${root}/include" NO_DEFAULT_PATH REQUIRED)
  find_library(${upper}_LIBRARY ${name} PATHS "${root}/lib" "${root}/lib64" NO_DEFAULT_PATH REQUIRED)
  add_library(${name} SHARED IMPORTED GLOBAL)
  set_target_properties(${name} PROPERTIES IMPORTED_LOCATION "${${upper}_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${${upper}_INCLUDE_DIR}")
endfunction()
