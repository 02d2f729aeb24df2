// A dialog's own connection to a project file: opened apart from the project's, refused quietly
// when the component cannot be made, told when the file cannot be opened.
#include "database/database.h"
#include "dialogs/dialogs.h"
#include "fixture.h"

namespace {

class PrivateConnection : public kvtest::ProjectFixture {
 protected:
  PrivateConnection() {
    kvads::setConsoleSink([this](std::string_view s) { printed_ += s; });
  }
  ~PrivateConnection() override { kvads::setConsoleSink(nullptr); }
  std::string take() { return std::exchange(printed_, std::string()); }

  std::string printed_;
};

TEST_F(PrivateConnection, OpensApartAndEndsTheDialogOnFailure) {
  ProjectDatabasePtr own;
  ASSERT_TRUE(OpenPrivateConnection(file_.wstring(), own));
  tblDiffSGroup groups(own.Get());
  groups.StartNew();
  groups.SetsName(L"Private");
  groups.Update();
  EXPECT_GT(groups.GetixDiffSGroup(), 0);
  VARIANT_BOOL done;
  own->Close(&done);

  EXPECT_FALSE(OpenPrivateConnection((folder_.path() / "none_kv_hvac.kv").wstring(), own));
  EXPECT_FALSE(own);
  EXPECT_EQ(take().rfind("\nDatabase Error: Could not find file", 0), 0u);

  ComSimulateCreateFailure(REGDB_E_CLASSNOTREG);
  EXPECT_FALSE(OpenPrivateConnection(file_.wstring(), own));
  ComSimulateCreateFailure(S_OK);
  EXPECT_EQ(take(), "");  // a component that cannot be made ends the dialog quietly
}

}  // namespace
