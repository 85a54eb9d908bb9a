#pragma once
// qzSheet: the layout of several views of one size in one picture: in rows from the top, each from the left. The last
// cells may be empty.

#include <cmath>

namespace qzQuery {

class qzSheet {
 public:
  /// All at least 1. There are as many columns as rows, or one more.
  qzSheet(int viewWidth, int viewHeight, int nbViews)
      : mViewWidth(viewWidth),
        mViewHeight(viewHeight),
        mNbViews(nbViews),
        mNbColumns(static_cast<int>(std::ceil(std::sqrt(nbViews)))),
        mNbRows((nbViews + mNbColumns - 1) / mNbColumns) {}

  int getViewWidth() const { return mViewWidth; }
  int getViewHeight() const { return mViewHeight; }
  int getNbViews() const { return mNbViews; }
  int getNbColumns() const { return mNbColumns; }
  int getNbRows() const { return mNbRows; }
  int getWidth() const { return mNbColumns * mViewWidth; }
  int getHeight() const { return mNbRows * mViewHeight; }

  /// The number of the view that a pixel of the sheet belongs to; getNbViews() or more in an empty cell.
  int getView(int x, int y) const { return y / mViewHeight * mNbColumns + x / mViewWidth; }

 private:
  int mViewWidth, mViewHeight, mNbViews, mNbColumns, mNbRows;
};

}  // namespace qzQuery
