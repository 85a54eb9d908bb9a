# What an installation of the shared library has, and what it needs.
set(expectedVersion 3.0.0)
set(expectedMacro QZ_COMMONADDONS_API)  # marks its classes
set(expectedClasses qzBBox qzGenericBVH qzLinearGenericBVHBuilder qzQBVH)  # some of them
set(expectedHeaders)  # all below its folder but those of qzDetail
set(expectedNeeds Wm4Foundation qzSceneGraph qzSystem)  # libraries, besides the languages' own
set(expectedState)  # its writable data
# Of the foundation library only its three unit vectors are needed at link time.
set(expectedVectors "Wm4::Vector3<float>::UNIT_X;Wm4::Vector3<float>::UNIT_Y;Wm4::Vector3<float>::UNIT_Z")
