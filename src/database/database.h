// The project database of the module: one record class per table, the project's connection and
// record objects, and the resolution of layer and text style keys into the current drawing.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <tuple>

#include "ProjectDatabase.h"
#include "bridge/bridge.h"
#include "tables.h"

// ---------------------------------------------------------------------------------------------
// The database side of a project: its connection and its record objects
// ---------------------------------------------------------------------------------------------

class kvProjectDatabase : public ProjectDatabaseState {
 public:
  kvProjectDatabase() = default;
  ~kvProjectDatabase() override;

  // Null until the first open; may be closed (asked with IsConnectionOpen).
  const ProjectDatabasePtr& connection() const { return connection_; }
  // Record objects stand on the connection they were made on: a new connection drops them, so
  // that the next ConnectDocument makes them anew on the live one.
  void setConnection(ProjectDatabasePtr connection);

  // The project's record object of table T (tblGlobal ... tblLoadRoomHeating), or null.
  template <class T> T* table() const { return std::get<std::unique_ptr<T>>(tables_).get(); }

  // Creates, on the connection, whichever record objects are still missing, in the project's
  // order: the five common tables, then the six HVAC tables.
  void CreateCommonTables();
  void CreateHvacTables();
  // Destroys every record object, common tables first.
  void DestroyTables();

 private:
  template <class T> void Create();
  template <class T> void Destroy() { std::get<std::unique_ptr<T>>(tables_).reset(); }

  ProjectDatabasePtr connection_;
  std::tuple<std::unique_ptr<tblGlobal>, std::unique_ptr<tblLayer>, std::unique_ptr<tblLayerKey>,
             std::unique_ptr<tblLayerSystem>, std::unique_ptr<tblTextStyle>, std::unique_ptr<tblDuct>,
             std::unique_ptr<tblDiffL>, std::unique_ptr<tblDiffS>, std::unique_ptr<tblDwgDiff>,
             std::unique_ptr<tblLoadRoomCooling>, std::unique_ptr<tblLoadRoomHeating>>
      tables_;
};

// The project's database side, made on first use.
kvProjectDatabase& DatabaseOf(kvPerProjectData& project);

// True when connection is set and the component says it is open.
bool IsConnectionOpen(ProjectDatabase* connection);

// The record object of table T of the current document's project; null when there is no current
// document, or the project is not connected. Never keep the pointer across LISP calls.
template <class T> T* ProjectTable(const kvDocumentRegistry* registry) {
  hvacPerProjectData* project = CurrentProject(registry);
  if (!project) return nullptr;
  auto* state = dynamic_cast<kvProjectDatabase*>(project->databaseState());
  return state ? state->table<T>() : nullptr;
}

// ---------------------------------------------------------------------------------------------
// Finding, opening, connecting and closing
// ---------------------------------------------------------------------------------------------

// The one database file of kind key ("kv_hvac", "kv_elec", "kv_plumb") in folder: a "kv" file,
// else an "mdb" file, whose name holds the key and is no master or standards copy. "" when there
// is none, or more than one candidate.
std::wstring FindDatabaseFile(std::wstring_view folder, std::wstring_view key);

// Opens the project's database of kind key in folder (stored, right-trimmed, as the project's
// folder), repairing it through the LISP layer when the component asks for that. False when
// already open, the folder is blank, no file is found, or the open failed and was reported;
// failures print only with report.
bool OpenDatabase(kvPerProjectData& project, std::wstring folder, std::wstring_view key, bool report);

// Makes sure the document's project is connected and all its record objects exist: one IsOpen
// call when it is. Prints "Cannot connect" with report when it cannot.
bool ConnectDocument(hvacPerDocData& document, bool report);

// Destroys the record objects, resets the project's settings, and closes the connection (which
// stays, closed, until the next connection replaces it).
void DisconnectProject(hvacPerProjectData& project);

// Prints the connection's last error, if any, and releases the reference. Sets nil as the LISP
// result. True when there was an error.
bool ReportDatabaseError(ProjectDatabasePtr connection);

// A counted reference to the current document's connection; null without a project or connection.
ProjectDatabasePtr GetDatabaseObject(const kvDocumentRegistry* registry);

// A dialog's own connection to the database at path: false (with the user told, where the
// failure is worth telling) when the dialog must end. The caller Closes it after the dialog.
bool OpenPrivateConnection(std::wstring_view path, ProjectDatabasePtr& out);

// After a dialog's DoModal: for a dialog that could not be created (-1 or 3), offers the
// component installer. Gives result unchanged.
int HandleDialogResult(int result);

// The value of a key in the drawing's marker (extended data of "KELVANE" on *Model_Space, keys
// at even distances from the name cell); "" when absent. "KV_HVAC" = "YES" marks a drawing of
// the HVAC database.
class AcDbDatabase;
std::wstring ReadDrawingMarker(AcDbDatabase* drawing, std::wstring_view key);

// Registers the functions above as the bridge's database hooks: connecting a document, closing
// a project, and connecting a new project whose drawing carries the marker.
void InstallProjectDatabaseHooks();

// ---------------------------------------------------------------------------------------------
// Layer and text style keys
// ---------------------------------------------------------------------------------------------

class AcDbObjectId;

// The layer of a key ("ROOM OUTLINES", ...) in the current drawing, created from the project's
// tblLayer row when the drawing lacks it, and unlocked. bySystem false looks the key up for all
// systems. A missing key falls back to "DEFAULT", then to layer "0" (with a message).
bool ResolveLayer(const kvDocumentRegistry* registry, std::wstring_view key, AcDbObjectId& layerId,
                  bool bySystem, std::int32_t layerSystem);
// The text style of a key in the current drawing, created when missing; height is in and out:
// the caller passes 0, and gets the text height in drawing units (scaled by dimscale).
bool ResolveTextStyle(const kvDocumentRegistry* registry, std::wstring_view key, AcDbObjectId& styleId,
                      double& height);
// Name of the centre line layer of an air type ("sa", "ra", "ea", "oa") in a layer system; "" on
// any failure.
std::wstring CenterlineLayerName(const kvDocumentRegistry* registry, std::wstring_view airflow,
                                 std::int32_t layerSystem);

// LISP kv_hvac-getLayer: key, then a layer system or nil (all systems). The layer name, or nil.
LispStatus kv_hvac_getLayer();
