// A placed diffuser's position and axes, stored and converted through the LISP layer.
#include <cmath>

#include "ads.h"
#include "fixture.h"
#include "ge.h"
#include "tables.h"

namespace {

// Answers convert_rp_dp and convert_ra_da as a LISP layer would, remembering what it was asked.
class ConvertingSession : public kvads::LispSession {
 public:
  int defun(const ACHAR*, int) override { return RTNORM; }
  int undef(const ACHAR*, int) override { return RTNORM; }
  int invoke(const resbuf* args, resbuf** result) override {
    calls.push_back(args->resval.rstring);
    const resbuf* value = args->rbnext;
    alignment = value->rbnext->restype == RTLONG ? value->rbnext->resval.rlong : value->rbnext->resval.rint;
    if (!answer) {
      *result = nullptr;
      return RTERROR;
    }
    if (calls.back() == L"convert_rp_dp") {
      const double p[3] = {value->resval.rpoint[0] + 100, value->resval.rpoint[1], value->resval.rpoint[2]};
      *result = acutBuildList(RT3DPOINT, p, 0);
    } else {
      *result = acutBuildList(RTREAL, value->resval.rreal + 1.570796325, 0);
    }
    return RTNORM;
  }
  bool answer = true;
  int alignment = -1;
  std::vector<std::wstring> calls;
};

class DiffuserGeometry : public kvtest::ProjectFixture {
 protected:
  void SetUp() override {
    ProjectFixture::SetUp();
    kvads::setCurrentSession(&session_);
  }
  void TearDown() override {
    kvads::setCurrentSession(nullptr);
    ProjectFixture::TearDown();
  }
  tblDiffL& Placed(double tilt, double rotation) {
    diffuser_.StartNew();
    diffuser_.SetX(1);
    diffuser_.SetY(2);
    diffuser_.SetZ(3);
    diffuser_.SetTILT(tilt);
    diffuser_.SetROTATION(rotation);
    diffuser_.SetiAlignmentPointNumber(7);
    diffuser_.Update();
    return diffuser_;
  }

  ConvertingSession session_;
  tblDiffL diffuser_{db_.Get()};
};

void ExpectVector(const AcGeVector3d& v, double x, double y, double z) {
  EXPECT_NEAR(v.x, x, 1e-9);
  EXPECT_NEAR(v.y, y, 1e-9);
  EXPECT_NEAR(v.z, z, 1e-9);
}

TEST_F(DiffuserGeometry, AxesOfADiffuserFacingTheOtherWay) {
  AcGeVector3d x, y, z;
  Placed(180, 0).GetAxes(false, x, y, z);
  ExpectVector(x, -1, 0, 0);
  ExpectVector(y, 0, -1, 0);
  ExpectVector(z, 0, 0, -1);
  Placed(0, 1.570796325).GetAxes(false, x, y, z);
  ExpectVector(x, std::cos(1.570796325), 1, 0);
  ExpectVector(z, 0, 0, 1);
  ExpectVector(y, 1, -std::cos(1.570796325), 0);
  EXPECT_TRUE(session_.calls.empty());
}

TEST_F(DiffuserGeometry, ConversionThroughTheLispLayerWithItsAlignmentNumber) {
  tblDiffL& d = Placed(0, 0);
  const AcGePoint3d p = d.GetPosition(true);
  EXPECT_EQ(p, AcGePoint3d(101, 2, 3));
  EXPECT_EQ(session_.alignment, 7);
  AcGeVector3d x, y, z;
  d.GetAxes(true, x, y, z);
  ExpectVector(x, std::cos(1.570796325), std::sin(1.570796325), 0);
  EXPECT_EQ(session_.calls, (std::vector<std::wstring>{L"convert_rp_dp", L"convert_ra_da"}));

  // Without a usable answer the stored values stand.
  session_.answer = false;
  EXPECT_EQ(d.GetPosition(true), AcGePoint3d(1, 2, 3));
  d.GetAxes(true, x, y, z);
  ExpectVector(x, 1, 0, 0);
}

}  // namespace
