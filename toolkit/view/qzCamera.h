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

  /// The axis that points up in the mesh.
  enum tUp { eUpY, eUpZ };

  /// The direction from the mesh towards the camera that text names, of any length: "x,y,z", or one of front, back,
  /// left, right, top, bottom and iso. "" stands for the default: from the front, above and to the side. Seen from the
  /// front, right is +x and up is up. Anything else throws a qzError.
  static tVector Direction(const std::string& text, tUp up);

  /// The camera that looks at mesh from direction, as near as it can be with every vertex in the picture. A direction
  /// of length 0 throws a qzError. aspect  width of the picture over its height
  static qzCamera Frame(const qz::qzTriMesh& mesh, const tVector& direction, tUp up, double aspect,
                        const tCancel* cancel = nullptr);

  /// nbViews cameras around mesh. The first one looks from direction; each next one stands 1 / nbViews of a full turn
  /// farther on the way from front to right, about the vertical line through the middle of the mesh's box. They are as
  /// near as they can be with every vertex in the picture at any turn. So the mesh does not change its size and place
  /// from view to view, nor with nbViews.
  static std::vector<qzCamera> FrameTurning(const qz::qzTriMesh& mesh, const tVector& direction, tUp up, double aspect,
                                            int nbViews, const tCancel* cancel = nullptr);

  Wm4::Vector3<float> getOrigin() const;

  /// Direction, of length 1, of the ray through a point of the picture: x from 0 at the left to 1 at the right, y from
  /// 0 at the top to 1 at the bottom.
  Wm4::Vector3<float> getDirection(double x, double y) const;

  /// Unit vectors of the camera in the mesh's space: to the right, up, and backwards out of the picture.
  const tVector& getRight() const { return mRight; }
  const tVector& getUp() const { return mUp; }
  const tVector& getBackward() const { return mBackward; }

  /// Half the sides of what is in the picture at distance 1 along the line of sight.
  double getHalfWidth() const { return mTanX; }
  double getHalfHeight() const { return mTanY; }

  /// Distances along the line of sight between which all vertices are; of FrameTurning, at any turn.
  double getNearest() const { return mNearest; }
  double getFarthest() const { return mFarthest; }

 private:
  struct tReach;
  qzCamera(const tVector& direction, tUp up, double aspect);  // stands at the origin
  double place(const tReach& reach);

  tVector mOrigin{}, mRight{}, mUp{}, mBackward{};
  double mTanX = 0.0, mTanY = 0.0;  // of half the angles of view
  double mNearest = 0.0, mFarthest = 0.0;
};

}  // namespace qzToolkit
