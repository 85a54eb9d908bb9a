#pragma once
// Checks of mesh files that assimp's readers lack. Those readers fill the end of a truncated PLY file with arbitrary
// numbers, use other vertices in place of missing ones (OFF), accept truncated STL files, and loop for ever on a letter
// among vertex indices (COLLADA).

#include <toolkit/run/qzCancelToken.h>

#include <string>
#include <string_view>

namespace qzToolkit {

/// Throws unless a PLY, STL or OFF file, by its extension, has a valid header and all elements that it announces; in
/// OFF files indices must be in range too. In COLLADA files only vertex indices are checked. Other formats pass.
/// Failure: a qzError that names the file and the line or element.
void checkMeshFile(const std::string& name, const std::string& extension, std::string_view bytes,
                   const tCancel* cancel = nullptr);

}  // namespace qzToolkit
