// Run-time classes: registration order, hierarchy, casts, removal, the system registry.
#include <gtest/gtest.h>

#include "rx.h"

namespace {

class Base : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(Base);
};
class Derived : public Base {
 public:
  ACRX_DECLARE_MEMBERS(Derived);
};
ACRX_DXF_DEFINE_MEMBERS(Base, AcRxObject, 1, 0, 0, TESTBASE, "Test")
ACRX_DXF_DEFINE_MEMBERS(Derived, Base, 2, 3, 1, TESTDERIVED, "Test|App")

TEST(RxClasses, ChildBeforeParentIsLinkedByTheHierarchyBuild) {
  Derived::rxInit();
  EXPECT_EQ(Derived::desc()->myParent(), nullptr) << "the parent is not registered yet";
  Base::rxInit();
  ASSERT_TRUE(acrxBuildClassHierarchy());
  EXPECT_EQ(Derived::desc()->myParent(), Base::desc());
  int maint = 0;
  EXPECT_EQ(Derived::desc()->getClassVersion(maint), 2);
  EXPECT_EQ(maint, 3);
  EXPECT_STREQ(Derived::desc()->appName(), L"\"Test|App\"") << "the application string keeps its quotes";
  EXPECT_EQ(acrxFindAcRxClassByDxfName(L"testderived"), Derived::desc());

  Derived d;
  Base b;
  EXPECT_TRUE(d.isKindOf(Base::desc()));
  EXPECT_FALSE(b.isKindOf(Derived::desc()));
  EXPECT_EQ(Derived::cast(&b), nullptr);
  EXPECT_EQ(Base::cast(&d), &d);
  EXPECT_EQ(Derived::cast(nullptr), nullptr);
  AcRxObject* made = Derived::desc()->create();
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->isA(), Derived::desc());
  delete made;
  EXPECT_EQ(newAcRxClass(L"Derived", L"Base", 9, 9, 0), Derived::desc()) << "a second registration finds the first";

  deleteAcRxClass(Derived::desc());
  Derived::gpDesc = nullptr;
  EXPECT_EQ(acrxFindAcRxClass(L"Derived"), nullptr);
  EXPECT_EQ(Derived::desc(), nullptr);
  Derived::rxInit();
  EXPECT_EQ(acrxFindAcRxClass(L"Derived"), Derived::desc());
}

TEST(RxRegistry, EntriesAndModules) {
  AcRxDictionary* reg = acrxSysRegistry();
  AcRxDictionary entry;
  EXPECT_EQ(reg->atPut(L"TEST_ENTRY", &entry), nullptr);
  EXPECT_EQ(reg->at(L"TEST_ENTRY"), &entry);
  EXPECT_EQ(reg->remove(L"TEST_ENTRY"), &entry);
  EXPECT_FALSE(reg->has(L"TEST_ENTRY"));
  EXPECT_FALSE(acrxLoadModule(L"no-such-module.dbx", false));
  EXPECT_FALSE(acrxUnloadModule(L"no-such-module.dbx"));
}

TEST(RxText, Utf8RoundTripAndBadBytes) {
  std::wstring text = L"Zone \u00e9t\u00e9 \u2013 \U0001F600";
  EXPECT_EQ(acrxFromUtf8(acrxToUtf8(text)), text);
  EXPECT_EQ(acrxFromUtf8(std::string("a\xff" "b")), L"a\uFFFDb");
  EXPECT_EQ(acrxFromUtf8(std::string("\xe2\x82")), L"\uFFFD\uFFFD") << "a cut sequence never reads past the end";
}

}  // namespace
