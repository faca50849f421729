# mk_add_plugin(<name> <source>...): a plug-in library for a host of mk::Host, from sources, forms
# and resource lists.
function(mk_add_plugin name)
  add_library(${name} MODULE ${ARGN})
  set_target_properties(
    ${name}
    PROPERTIES PREFIX ""
               CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               AUTOMOC ON
               AUTOUIC ON
               AUTORCC ON)
  target_compile_features(${name} PRIVATE cxx_std_17)
  # Python's headers use "slots" as a name.
  target_compile_definitions(${name} PRIVATE QT_NO_KEYWORDS)
  # Unique global symbols would keep the library loaded for good.
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  target_link_libraries(${name} PRIVATE mk::Host)
endfunction()
