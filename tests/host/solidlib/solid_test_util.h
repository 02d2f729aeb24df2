// Shared helpers of the solid library's tests: frames, boxes and tolerances.
#pragma once

#include <cmath>

#include <gtest/gtest.h>

#include "kvSolid.h"

namespace soltest {

constexpr double kPi = 3.14159265358979323846;

// A frame of three vectors: run, width axis, depth axis.
struct Frame {
  AcGeVector3d v[3];
  Frame(AcGeVector3d run, AcGeVector3d width, AcGeVector3d depth) : v{run, width, depth} {}
  operator const AcGeVector3d*() const { return v; }
};

inline Frame alongX() { return {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}; }
inline Frame alongY() { return {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}; }

inline void expectBox(const SolidBodies& s, AcGePoint3d lo, AcGePoint3d hi, double tol = 1e-6) {
  const SolidExtents e = s.extents();
  ASSERT_TRUE(e.valid);
  for (unsigned i = 0; i < 3; ++i) {
    EXPECT_NEAR(e.min[i], lo[i], tol) << "min " << i;
    EXPECT_NEAR(e.max[i], hi[i], tol) << "max " << i;
  }
}

inline void expectRelNear(double actual, double expected, double rel) {
  EXPECT_NEAR(actual, expected, std::fabs(expected) * rel);
}

inline void expectPoint(const AcGePoint3d& p, AcGePoint3d q, double tol = 1e-9) {
  EXPECT_NEAR(p.x, q.x, tol);
  EXPECT_NEAR(p.y, q.y, tol);
  EXPECT_NEAR(p.z, q.z, tol);
}

}  // namespace soltest
