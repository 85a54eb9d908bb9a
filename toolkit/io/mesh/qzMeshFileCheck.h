#pragma once
// What assimp does not tell about a mesh file. Its readers fill the missing end of a cut PLY file with made-up numbers,
// put other vertices in the place of missing ones (OFF), take the facets that are there (STL), and never come back from
// a letter among vertex numbers (COLLADA). So these files are looked through first.

#include <toolkit/run/qzCancelToken.h>

#include <string>
#include <string_view>

namespace qzToolkit {

/// Throws unless a PLY, STL or OFF file, by its extension, has a header that makes sense and all that it announces; in
/// OFF indices must be in range, too. In COLLADA only vertex numbers are looked at, other formats pass.
/// Failure: a qzError that names the file and the line or element.
void checkMeshFile(const std::string& name, const std::string& extension, std::string_view bytes,
                   const tCancel* cancel = nullptr);

}  // namespace qzToolkit
