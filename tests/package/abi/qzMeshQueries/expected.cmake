# What an installation of the shared library has, and what it needs.
set(expectedVersion 1.0.0)
set(expectedMacro QZ_MESHQUERIES_API)  # marks its classes
set(expectedClasses Cancelled MeshIndex)  # all of them
set(expectedHeaders qzMeshQueries/MeshIndex.h qzMeshQueries/MeshTypes.h)  # all of them
set(expectedNeeds Wm4Foundation qzSceneGraph qzSystem qzCommonAddOns tbb hwy)  # libraries, besides the languages' own
set(expectedState "qzMeshQueries::detail::(anonymous namespace)::sInUse")  # its writable data: the instruction set
set(expectedVectors)  # it uses nothing of the foundation library
