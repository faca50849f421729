# What the targets of this project have in common.

# The build tree is laid out as an installation, so that programs find their files by the same
# relative paths in both.
set(MK_BIN_DIR ${CMAKE_INSTALL_BINDIR})
set(MK_LIB_DIR ${CMAKE_INSTALL_LIBDIR})
set(MK_PLUGIN_DIR ${MK_LIB_DIR}/mkHost/plugins)
set(MK_DATA_DIR ${CMAKE_INSTALL_DATADIR}/mkHost)
set(MK_TRANSLATION_DIR ${MK_DATA_DIR}/translations)

# What the compiler may complain of, and how the code is instrumented.
add_library(mkWarnings INTERFACE)
target_compile_definitions(mkWarnings INTERFACE QT_DISABLE_DEPRECATED_BEFORE=0x050e00)
target_compile_options(
  mkWarnings
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wcast-align
            -Wformat=2
            -Wunused
            -Wimplicit-fallthrough
            $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond>
            $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op>
            -Werror)

if(MK_SANITIZE)
  target_compile_definitions(mkWarnings INTERFACE MK_SANITIZE)
  # Boost.Python casts a pointer to a holder that it has destroyed just before, which is harmless
  # until the sanitizer's "vptr" clears the table that the cast reads.
  target_compile_options(
    mkWarnings INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=undefined
                         -fno-omit-frame-pointer -fno-sanitize=vptr)
  target_link_options(mkWarnings INTERFACE -fsanitize=address,undefined)
endif()
if(MK_FUZZ)
  target_compile_options(mkWarnings INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(MK_COVERAGE)
  # Branches that only an exception takes are left out of the report by the script that makes it.
  target_compile_options(mkWarnings INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(mkWarnings INTERFACE --coverage)
endif()

# mk_relative(<variable> <from> <to>): the way from one directory of an installation to another.
function(mk_relative variable from to)
  file(RELATIVE_PATH way ${CMAKE_INSTALL_PREFIX}/${from} ${CMAKE_INSTALL_PREFIX}/${to})
  string(REGEX REPLACE "/$" "" way ${way})
  set(${variable} ${way} PARENT_SCOPE)
endfunction()

# mk_target(<target>): the properties of every library and program of ours.
function(mk_target target)
  mk_relative(libraries ${MK_BIN_DIR} ${MK_LIB_DIR})
  set_target_properties(
    ${target}
    PROPERTIES CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               AUTOMOC ON
               AUTOUIC ON
               BUILD_WITH_INSTALL_RPATH ON
               INSTALL_RPATH $ORIGIN/${libraries}
               RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${MK_BIN_DIR}
               LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${MK_LIB_DIR})
  target_compile_features(${target} PRIVATE cxx_std_17)
  target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS)
  target_link_libraries(${target} PRIVATE mkWarnings)
endfunction()

# mk_place_plugin(<target>): puts a plug-in where the workbench looks for it, also when installed.
add_custom_target(plugins)
function(mk_place_plugin target)
  mk_relative(libraries ${MK_PLUGIN_DIR} ${MK_LIB_DIR})
  set_target_properties(
    ${target}
    PROPERTIES BUILD_WITH_INSTALL_RPATH ON
               INSTALL_RPATH $ORIGIN/${libraries}
               LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${MK_PLUGIN_DIR})
  add_dependencies(plugins ${target})
  install(TARGETS ${target} LIBRARY DESTINATION ${MK_PLUGIN_DIR} COMPONENT plugins)
endfunction()
