// Document and project lists: which drawing is current and which folder's project it uses.
#include <algorithm>

#include "bridge.h"

namespace {

// Position of the last separator: "\" as the platform writes paths, else "/".
std::size_t LastSeparator(const std::wstring& path) {
  std::size_t at = path.rfind(L'\\');
  return at != std::wstring::npos ? at : path.rfind(L'/');
}

std::wstring FolderOf(const std::wstring& path) {
  std::size_t at = LastSeparator(path);
  return at == std::wstring::npos ? std::wstring() : path.substr(0, at);
}

std::wstring FileNameOf(const std::wstring& path) {
  std::size_t at = LastSeparator(path);
  return at == std::wstring::npos ? std::wstring() : path.substr(at + 1);
}

}  // namespace

kvPerProjectData::kvPerProjectData(std::wstring folder) : folder_(std::move(folder)) {}

kvPerProjectData::~kvPerProjectData() = default;

kvPerDocData::kvPerDocData(std::wstring path, kvPerProjectData& project, AcDbDatabase* database)
    : path_(std::move(path)), fileName_(FileNameOf(path_)), project_(project), database_(database) {
  project_.addDocument();
}

kvPerDocData::~kvPerDocData() { project_.removeDocument(); }

void kvDocumentRegistry::AddOrActivateDocument(const std::wstring& path, AcDbDatabase* database) {
  auto same = [&](const auto& doc) { return doc->path() == path; };
  auto found = std::find_if(documents_.begin(), documents_.end(), same);
  if (found != documents_.end()) {
    std::swap(*found, documents_.front());
    return;
  }
  std::wstring folder = FolderOf(path);
  auto project = std::find_if(projects_.begin(), projects_.end(),
                              [&](const auto& p) { return p->folder() == folder; });
  if (project == projects_.end()) {
    auto made = std::make_unique<hvacPerProjectData>(folder);
    // Listed only once the step above it is done: a project whose making failed is not kept.
    if (projectCreated_) projectCreated_(*made, database);
    projects_.push_front(std::move(made));
    project = projects_.begin();
  }
  documents_.push_front(std::make_unique<hvacPerDocData>(path, **project, database));
}

void kvDocumentRegistry::RemoveDocument(const std::wstring& path) {
  auto found = std::find_if(documents_.begin(), documents_.end(),
                            [&](const auto& doc) { return doc->path() == path; });
  if (found == documents_.end()) return;
  hvacPerProjectData* project = &(*found)->hvacProject();
  documents_.erase(found);
  if (project->documentCount() == 0)
    projects_.remove_if([&](const auto& p) { return p.get() == project; });
}

void kvDocumentRegistry::DestroyAll() {
  documents_.clear();
  projects_.clear();
}

hvacPerDocData* CurrentDocument(const kvDocumentRegistry* registry) {
  if (!registry || registry->documents().empty()) return nullptr;
  return registry->documents().front().get();
}

hvacPerProjectData* CurrentProject(const kvDocumentRegistry* registry) {
  hvacPerDocData* document = CurrentDocument(registry);
  return document ? &document->hvacProject() : nullptr;
}

double ToDrawingUnits(double x) {
  hvacPerProjectData* project = CurrentProject(DocumentRegistry());
  return project && project->isMetric() ? x * 25.4 : x;
}

double FromDrawingUnits(double x) {
  hvacPerProjectData* project = CurrentProject(DocumentRegistry());
  return project && project->isMetric() ? x / 25.4 : x;
}
