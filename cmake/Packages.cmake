# Debian packages, made by cpack: one for each component of the installation.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mk-workbench)
set(CPACK_PACKAGE_CONTACT "The mkRenderLayerModule developers <mkRenderLayerModule@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
                                                GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL library workbench plugins development)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The packages' own library is in none that is installed yet.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/${MK_LIB_DIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libmkhost${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "host for scene panels: shared library
The scene graph, the services and the embedded Python that plug-ins of the
workbench share with it.")

set(CPACK_DEBIAN_WORKBENCH_PACKAGE_NAME mk-workbench)
set(CPACK_DEBIAN_WORKBENCH_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_WORKBENCH_PACKAGE_RECOMMENDS "mk-workbench-plugins, qttranslations5-l10n")
set(CPACK_COMPONENT_WORKBENCH_DEPENDS library)
set(CPACK_COMPONENT_WORKBENCH_DESCRIPTION
    "host for scene panels: the program
Opens 3D scenes (glTF, OBJ and others), shows their nodes and materials, and
docks the panels of its plug-ins. Scripts in Python run in its window or
without one.")

set(CPACK_DEBIAN_PLUGINS_PACKAGE_NAME mk-workbench-plugins)
set(CPACK_DEBIAN_PLUGINS_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_PLUGINS_DEPENDS library)
set(CPACK_COMPONENT_PLUGINS_DESCRIPTION
    "host for scene panels: plug-ins
The render layer panel, which keeps named groups of scene nodes with render
attributes and materials of their own for each layer, and a ray-traced view
that shows and renders them.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libmkhost-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libboost-python-dev, python3-dev, qtbase5-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "host for scene panels: development files
Headers, the CMake package mkHost and an example to write plug-ins for the
workbench with.")

# Each package says whose it is.
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} name)
  install(
    FILES COPYRIGHT
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${name}_PACKAGE_NAME}
    RENAME copyright
    COMPONENT ${component})
endforeach()

include(CPack)
