# Debian packages, one per component of an installation, made by cpack from a build for the prefix /usr.
# script/package builds and checks them.
set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR}/qzCommonAddOns ${PROJECT_BINARY_DIR}/qzMeshQueries ${PROJECT_BINARY_DIR}/platform)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_PACKAGE_SOURCE qzcommonaddons)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # every description below begins with its own

# The maintainers' address comes from the changelog.
file(STRINGS ${PROJECT_SOURCE_DIR}/cmake/debian/changelog maintainer REGEX "^ -- " LIMIT_COUNT 1)
string(REGEX REPLACE "^ -- (.*>)  .*" "\\1" CPACK_DEBIAN_PACKAGE_MAINTAINER "${maintainer}")

set(about "Boxes, packed binary hierarchies, their builders, and a four-wide hierarchy
that answers which triangle a ray meets first and whether a convex region
touches a mesh. Answers are the same to the bit on every compiler and
processor.")

set(library libqzcommonaddons${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "spatial acceleration structures for triangle meshes
${about}

This package contains the shared library, and those of its stand-ins for the
sibling libraries.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqzcommonaddons-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "spatial acceleration structures for triangle meshes (development files)
${about}

This package contains headers, static libraries, and what CMake and
pkg-config need.")

set(aboutQueries "Answers what rays hit on a triangle mesh, first, at all or in order, and how
often they cross it; one by one, and in batches on threads. No ray slips
between triangles or counts twice. An answer depends on the mesh and the ray
alone.")

get_target_property(queriesMajor qzMeshQueries SOVERSION)
set(queries libqzmeshqueries${queriesMajor})
set(CPACK_DEBIAN_MESHLIBRARY_PACKAGE_NAME ${queries})
set(CPACK_DEBIAN_MESHLIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_MESHLIBRARY_PACKAGE_DEPENDS "${library} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_MESHLIBRARY_DESCRIPTION "watertight ray queries on triangle meshes
${aboutQueries}

This package contains the shared library.")
set(CPACK_DEBIAN_MESHLIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_MESHLIBRARY_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_MESHDEVELOPMENT_PACKAGE_NAME libqzmeshqueries-dev)
set(CPACK_DEBIAN_MESHDEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_MESHDEVELOPMENT_PACKAGE_DEPENDS
  "${queries} (= ${PROJECT_VERSION}), libqzcommonaddons-dev (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_MESHDEVELOPMENT_PACKAGE_SUGGESTS "libhwy-dev, libtbb-dev")  # for the static library
set(CPACK_DEBIAN_MESHDEVELOPMENT_DESCRIPTION "watertight ray queries on triangle meshes (development files)
${aboutQueries}

This package contains headers, a static library, and what CMake and
pkg-config need.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME qzquery)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS
  "${library} (>= ${PROJECT_VERSION}), ${queries} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "ask a triangle mesh what rays meet and what it looks like
Reads meshes in any format that assimp reads, tells about them and about
hierarchies over them, renders them, and casts rays from a table into a table
of hits. Hits are the same bytes for any number of threads.")

set(CPACK_COMPONENTS_ALL Library Development MeshLibrary MeshDevelopment)
set(CPACK_COMPONENTS_DEVELOPMENT Development MeshDevelopment)  # what is taken from the second build, which is static
if(QZ_BUILD_APPS)
  list(APPEND CPACK_COMPONENTS_ALL Program)
endif()

# Runs after a component is installed to its folder and before that is packed.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/qzPackageFiles.cmake)
set(CPACK_QZ_DEBIAN_DIR ${PROJECT_SOURCE_DIR}/cmake/debian)
include(CPack)
