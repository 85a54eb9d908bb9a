#pragma once
// qzCamera: a perspective camera that frames a mesh.

#include <Wm4/Vector3.h>

#include <array>
#include <string>

namespace qz {
class qzTriMesh;
}

namespace qzToolkit {

class qzCamera {
 public:
  using tVector = std::array<double, 3>;

  /// The axis that points up in the mesh.
  enum tUp { eUpY, eUpZ };

  /// The direction from the mesh towards the camera that text names, of any length: "x,y,z", or one of front, back,
  /// left, right, top, bottom and iso. "" stands for the default: from the front, above and to the side. Seen from the
  /// front, right is +x and up is up. Anything else throws a qzError.
  static tVector Direction(const std::string& text, tUp up);

  /// The camera that looks at mesh from direction, as near as it can be with every vertex in the picture. A direction
  /// of length 0 throws a qzError. aspect  width of the picture over its height
  static qzCamera Frame(const qz::qzTriMesh& mesh, const tVector& direction, tUp up, double aspect);

  Wm4::Vector3<float> getOrigin() const;

  /// Direction, of length 1, of the ray through a point of the picture: x from 0 at the left to 1 at the right, y from
  /// 0 at the top to 1 at the bottom.
  Wm4::Vector3<float> getDirection(double x, double y) const;

  /// Unit vectors of the camera in the mesh's space: to the right, up, and backwards out of the picture.
  const tVector& getRight() const { return mRight; }
  const tVector& getUp() const { return mUp; }
  const tVector& getBackward() const { return mBackward; }

 private:
  tVector mOrigin{}, mRight{}, mUp{}, mBackward{};
  double mTanX = 0.0, mTanY = 0.0;  // of half the angles of view
};

}  // namespace qzToolkit
