// DXF from another program: a drawing written by ezdxf (an independent writer) comes in with its
// points, circles, arcs, texts and inserts with attributes, survives our own save and reopen, and
// goes out again so that the same reader finds every entity and attribute.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "db.h"

namespace {

std::filesystem::path tempFile(const std::string& name) {
  auto dir = std::filesystem::temp_directory_path() / "kv_db_dxf_import";
  std::filesystem::create_directories(dir);
  return dir / name;
}

std::string slurp(const std::filesystem::path& p) {
  std::ifstream in(p);
  return std::string((std::istreambuf_iterator<char>(in)), {});
}

// Runs a Python program with the system's interpreter (where ezdxf is installed); its output.
std::string python(const std::string& program, int& status) {
  auto script = tempFile("script.py"), out = tempFile("script.out");
  std::ofstream(script) << program;
  status = std::system(("/usr/bin/python3 '" + script.string() + "' > '" + out.string() + "' 2>&1").c_str());
  return slurp(out);
}

const char* kWriter = R"(
import ezdxf
doc = ezdxf.new('R2000')
doc.layers.add('EQUIP', color=3)
doc.styles.add('NOTES', font='arial.ttf')
block = doc.blocks.new('VAV')
block.add_line((0, 0), (2, 0))
block.add_attdef('TAG', (0, 1), dxfattribs={'height': 0.5, 'prompt': 'Box tag'})
msp = doc.modelspace()
msp.add_point((1, 2, 0))
msp.add_circle((5, 5), 2.5, dxfattribs={'layer': 'EQUIP', 'color': 1})
msp.add_arc((10, 0), 3, 30, 120)
msp.add_text('SUPPLY 400', dxfattribs={'insert': (0, 10), 'height': 1.25, 'rotation': 90, 'style': 'NOTES'})
ref = msp.add_blockref('VAV', (20, 20), dxfattribs={'rotation': 0})
ref.add_attrib('TAG', 'VAV-1', (20, 21), dxfattribs={'height': 0.5})
ref.add_attrib('CFM', '350', (20, 22), dxfattribs={'height': 0.5, 'flags': 1})
msp.add_ellipse((0, 0), major_axis=(2, 0), ratio=0.5)
doc.saveas(OUT)
)";

// The model space entities of class T, open for read while this lives.
template <class T>
class ModelSpace {
 public:
  explicit ModelSpace(AcDbDatabase& db) {
    AcDbBlockTableRecord* ms = nullptr;
    if (acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForRead) != Acad::eOk) return;
    for (AcDbObjectId id : ms->entityIds()) {
      AcDbEntity* e = nullptr;
      if (acdbOpenObject(e, id, AcDb::kForRead) != Acad::eOk) continue;
      if (auto* t = T::cast(e)) all.push_back(t);
      else e->close();
    }
    ms->close();
  }
  ~ModelSpace() {
    for (T* e : all) e->close();
  }
  std::size_t size() const { return all.size(); }
  T* operator[](std::size_t i) const { return all[i]; }

  std::vector<T*> all;
};

// What the drawing holds, in a form both checks compare.
void expectImported(AcDbDatabase& db, const std::string& when) {
  SCOPED_TRACE(when);
  ModelSpace<AcDbPoint> points(db);
  ASSERT_EQ(points.size(), 1u);
  EXPECT_TRUE(points[0]->position().isEqualTo(AcGePoint3d(1, 2, 0)));
  ModelSpace<AcDbCircle> circles(db);
  ASSERT_EQ(circles.size(), 2u) << "the circle and the arc, which is one";
  ModelSpace<AcDbArc> arcs(db);
  ASSERT_EQ(arcs.size(), 1u);
  EXPECT_NEAR(arcs[0]->startAngle(), M_PI / 6, 1e-12);
  EXPECT_NEAR(arcs[0]->endAngle(), 2 * M_PI / 3, 1e-12);
  EXPECT_DOUBLE_EQ(arcs[0]->radius(), 3.0);
  const AcDbCircle* circle = circles[0] == arcs[0] ? circles[1] : circles[0];
  EXPECT_DOUBLE_EQ(circle->radius(), 2.5);
  EXPECT_STREQ(circle->layer(), L"EQUIP");
  EXPECT_EQ(circle->colorIndex(), 1);
  ModelSpace<AcDbText> texts(db);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_STREQ(texts[0]->textStringConst(), L"SUPPLY 400");
  EXPECT_DOUBLE_EQ(texts[0]->height(), 1.25);
  EXPECT_NEAR(texts[0]->rotation(), M_PI / 2, 1e-12);
  AcDbTextStyleTableRecord* style = nullptr;
  ASSERT_EQ(acdbOpenObject(style, texts[0]->textStyle(), AcDb::kForRead), Acad::eOk) << "its style by name";
  EXPECT_STREQ(style->getName(), L"NOTES");
  style->close();
  ModelSpace<AcDbBlockReference> inserts(db);
  ASSERT_EQ(inserts.size(), 1u);
  ASSERT_EQ(inserts[0]->attributeCount(), 2);
  EXPECT_STREQ(inserts[0]->attributeAt(0)->tagConst(), L"TAG");
  EXPECT_STREQ(inserts[0]->attributeAt(0)->textStringConst(), L"VAV-1");
  EXPECT_STREQ(inserts[0]->attributeAt(1)->textStringConst(), L"350");
  EXPECT_TRUE(inserts[0]->attributeAt(1)->isInvisible());
  EXPECT_EQ(ModelSpace<AcDbAttribute>(db).size(), 0u) << "attributes belong to their insert";
}

TEST(DbDxfImport, AnotherProgramsDrawingComesInWholeAndGoesOutWhole) {
  auto written = tempFile("ezdxf.dxf"), saved = tempFile("ezdxf.dwg"), out = tempFile("ours.dxf");
  int status = 0;
  std::string log = python("OUT = '" + written.string() + "'\n" + kWriter, status);
  ASSERT_EQ(status, 0) << log;

  AcDbDatabase db;
  ASSERT_EQ(db.dxfIn(acrxFromUtf8(written.string()).c_str()), Acad::eOk);
  expectImported(db, "imported");
  {
    // The block's attribute template came with the block.
    AcDbBlockTable* table = nullptr;
    ASSERT_EQ(db.getBlockTable(table, AcDb::kForRead), Acad::eOk);
    AcDbObjectId vav = table->getIdAt(L"VAV");
    table->close();
    AcDbBlockTableRecord* block = nullptr;
    ASSERT_EQ(acdbOpenObject(block, vav, AcDb::kForRead), Acad::eOk);
    int definitions = 0;
    for (AcDbObjectId id : block->entityIds()) {
      AcDbEntity* e = nullptr;
      if (acdbOpenObject(e, id, AcDb::kForRead) != Acad::eOk) continue;
      if (auto* d = AcDbAttributeDefinition::cast(e)) {
        ++definitions;
        EXPECT_STREQ(d->tagConst(), L"TAG");
        EXPECT_STREQ(d->promptConst(), L"Box tag");
      }
      e->close();
    }
    block->close();
    EXPECT_EQ(definitions, 1);
  }

  ASSERT_EQ(db.saveAs(acrxFromUtf8(saved.string()).c_str()), Acad::eOk);
  AcDbDatabase back(false, true);
  ASSERT_EQ(back.readDwgFile(acrxFromUtf8(saved.string()).c_str()), Acad::eOk);
  expectImported(back, "saved and reopened");

  ASSERT_EQ(back.dxfOut(acrxFromUtf8(out.string()).c_str()), Acad::eOk);
  std::string check = "import ezdxf\n"
                      "doc = ezdxf.readfile('" + out.string() + "')\n"
                      "auditor = doc.audit()\n"
                      "print(len(auditor.errors), sorted(e.dxftype() for e in doc.modelspace()))\n"
                      "ref = doc.modelspace().query('INSERT')[0]\n"
                      "print([(a.dxf.tag, a.dxf.text) for a in ref.attribs])\n"
                      "print([(e.dxftype(), e.dxf.tag) for e in doc.blocks['VAV'] if e.dxftype() == 'ATTDEF'])\n";
  log = python(check, status);
  ASSERT_EQ(status, 0) << log;
  EXPECT_EQ(log,
            "0 ['ARC', 'CIRCLE', 'INSERT', 'POINT', 'TEXT']\n"
            "[('TAG', 'VAV-1'), ('CFM', '350')]\n"
            "[('ATTDEF', 'TAG')]\n")
      << "the ellipse has no class here; everything else went out again";
}

// Moving an insert moves its attributes; a mirrored arc keeps its sweep.
TEST(DbDxfImport, InsertsCarryTheirAttributesAndArcsKeepTheirSweep) {
  AcDbBlockReference insert(AcGePoint3d(0, 0, 0), AcDbObjectId());
  ASSERT_EQ(insert.appendAttribute(new AcDbAttribute(AcGePoint3d(1, 1, 0), L"VAV-1", L"TAG")), Acad::eOk);
  EXPECT_EQ(insert.appendAttribute(nullptr), Acad::eNullObjectPointer);
  insert.transformBy(AcGeMatrix3d::translation(AcGeVector3d(10, 0, 0)));
  EXPECT_TRUE(insert.attributeAt(0)->position().isEqualTo(AcGePoint3d(11, 1, 0)));
  EXPECT_EQ(insert.attributeAt(1), nullptr);

  AcDbArc arc(AcGePoint3d(0, 0, 0), 2.0, 0.0, M_PI / 2);
  AcGeMatrix3d mirror;
  mirror.setToMirroring(AcGePlane(AcGePoint3d(0, 0, 0), AcGeVector3d(1, 0, 0)));
  arc.transformBy(mirror);
  AcDbExtents box;
  ASSERT_EQ(arc.getGeomExtents(box), Acad::eOk);
  EXPECT_NEAR(box.minPoint().x, -2.0, 1e-9) << "the quarter now lies left of the centre";
  EXPECT_NEAR(box.maxPoint().x, 0.0, 1e-9);
  EXPECT_NEAR(box.maxPoint().y, 2.0, 1e-9);
}

}  // namespace
