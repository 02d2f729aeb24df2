// Helpers shared by the room tests: the classes registered once, rooms made from outlines, a
// drawing to work in, and reading an entity's own record from bytes.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "rooms/rooms.h"

// A room (open for write, in no database) with this outline, index 1 and its label's text.
std::unique_ptr<hvacRoom> MakeRoom(const std::vector<RoomPoint>& outline, const ACHAR* label = L"Room");
// Outline points from (x, y) pairs, none thick.
std::vector<RoomPoint> Outline(std::initializer_list<std::pair<double, double>> xy);

// A drawing made the working one for the scope, with that dimension scale.
class WorkingDrawing {
 public:
  explicit WorkingDrawing(double dimscale = 1.0);
  ~WorkingDrawing();
  AcDbDatabase& db() { return db_; }
  // Makes another drawing the working one for a scope.
  class Scope {
   public:
    explicit Scope(AcDbDatabase& db);
    ~Scope();

   private:
    AcDbDatabase* saved_;
  };

 private:
  AcDbDatabase db_;
  AcDbDatabase* saved_;
};

// Reads an entity from the bytes of its own record (the entity's fields are put in front).
Acad::ErrorStatus ReadRecord(AcDbEntity& entity, const std::vector<unsigned char>& record);
// The bytes of the entity's own record, after its entity fields.
std::vector<unsigned char> OwnRecord(const AcDbEntity& entity);
std::vector<unsigned char> ReadFile(const std::filesystem::path& p);
std::filesystem::path FixtureDir();
