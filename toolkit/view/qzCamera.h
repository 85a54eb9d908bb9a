#pragma once
// qzCamera: a perspective camera that frames a mesh.

#include <Wm4/Vector3.h>
#include <toolkit/base/qzVectorMath.h>
#include <toolkit/run/qzCancelToken.h>

#include <string>
#include <vector>

namespace qz {
class qzTriMesh;
}

namespace qzToolkit {

class qzCamera {
 public:
  using tVector = tVector3d;

  /// The up axis of the mesh.
  enum tUp { eUpY, eUpZ };

  /// Parses the direction from the mesh towards the camera, of any length: "x,y,z", or one of front, back,
  /// left, right, top, bottom and iso. "" is the default: from the front, above and the side. Seen from the
  /// front, right is +x and up is up. Anything else throws a qzError.
  static tVector Direction(const std::string& text, tUp up);

  /// The camera that looks at mesh from direction, as near as possible with every vertex in the picture. A direction of
  /// length 0 throws a qzError.
  /// aspect  width of the picture over its height
  /// cancel  polled for every corner of a triangle
  static qzCamera Frame(const qz::qzTriMesh& mesh, const tVector& direction, tUp up, double aspect,
                        const tCancel* cancel = nullptr);

  /// nbViews cameras around mesh. The first one looks from direction; each next one is rotated by 1 / nbViews of a full
  /// turn from front to right, about the vertical axis through the centre of the mesh's box. They are as near as
  /// possible with every vertex in the picture at any angle, so size and position of the mesh in the picture depend
  /// neither on the view nor on nbViews.
  static std::vector<qzCamera> FrameTurning(const qz::qzTriMesh& mesh, const tVector& direction, tUp up, double aspect,
                                            int nbViews, const tCancel* cancel = nullptr);

  Wm4::Vector3<float> getOrigin() const;

  /// Direction, of length 1, of the ray through a point of the picture: x from 0 at the left to 1 at the right, y from
  /// 0 at the top to 1 at the bottom.
  Wm4::Vector3<float> getDirection(double x, double y) const;

  /// Unit vectors of the camera in the space of the mesh: right, up, and backwards out of the picture.
  const tVector& getRight() const { return mRight; }
  const tVector& getUp() const { return mUp; }
  const tVector& getBackward() const { return mBackward; }

  /// Half the width and height of the field of view at distance 1 along the line of sight.
  double getHalfWidth() const { return mTanX; }
  double getHalfHeight() const { return mTanY; }

  /// Range of the distances of all vertices along the line of sight; for FrameTurning, at any angle.
  double getNearest() const { return mNearest; }
  double getFarthest() const { return mFarthest; }

 private:
  struct tReach;
  qzCamera(const tVector& direction, tUp up, double aspect);  // at the origin
  double place(const tReach& reach);

  tVector mOrigin{}, mRight{}, mUp{}, mBackward{};
  double mTanX = 0.0, mTanY = 0.0;  // of half the angles of view
  double mNearest = 0.0, mFarthest = 0.0;
};

}  // namespace qzToolkit
