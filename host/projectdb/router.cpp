// The connection callers hold: it follows the project it is pointed at, so the module and the
// application layer never learn whether a project lives in a file or on a server.
#include "backend.h"
#include "impl.h"

namespace kvprojectdb {

bool IsLinkPath(std::string_view path) { return EndsWithNoCase(path, ".kvlink"); }

namespace {

class RoutingBackend final : public ComObject<Backend> {
 public:
  RoutingBackend() : active_(MakeFileBackend()) {}

  HRESULT QueryInterface(REFIID iid, void** out) override { return QueryProjectDatabase(this, iid, out); }

  HRESULT Open(BSTR path, short a, short b, BSTR* result) override { return For(path)->Open(path, a, b, result); }
  HRESULT OpenView(BSTR path, VARIANT_BOOL* readOnly, VARIANT_BOOL* ok) override {
    return For(path)->OpenView(path, readOnly, ok);
  }
  HRESULT CreateProject(BSTR path, VARIANT_BOOL* ok) override { return For(path)->CreateProject(path, ok); }
  HRESULT Repair(BSTR path, LONG* rowsSaved, VARIANT_BOOL* ok) override {
    // Repair works on a closed project: the engine that holds this connection stays as it is.
    return (IsLinkPath(BstrToUtf8(path)) == server_ ? active_ : Engine(!server_))->Repair(path, rowsSaved, ok);
  }

  HRESULT SetTable(BSTR table, BSTR index, VARIANT_BOOL* ok) override { return active_->SetTable(table, index, ok); }
  HRESULT MoveFirst(SAFEARRAY** row, VARIANT_BOOL* found) override { return active_->MoveFirst(row, found); }
  HRESULT MoveNext(LONG count, SAFEARRAY** row, VARIANT_BOOL* found) override {
    return active_->MoveNext(count, row, found);
  }
  HRESULT IsOpen(VARIANT_BOOL* open) override { return active_->IsOpen(open); }
  HRESULT AddRecord(SAFEARRAY* row, LONG flags, SAFEARRAY** outRow, VARIANT_BOOL* ok) override {
    return active_->AddRecord(row, flags, outRow, ok);
  }
  HRESULT CloseTables(VARIANT_BOOL* done) override { return active_->CloseTables(done); }
  HRESULT Close(VARIANT_BOOL* done) override { return active_->Close(done); }
  HRESULT DeleteRecord(VARIANT_BOOL* done) override { return active_->DeleteRecord(done); }
  HRESULT GetLastError(LONG* code, BSTR* text) override { return active_->GetLastError(code, text); }
  HRESULT HasError(VARIANT_BOOL* hasError) override { return active_->HasError(hasError); }
  HRESULT UpdateRecord(SAFEARRAY* row, SAFEARRAY** outRow, VARIANT_BOOL* ok) override {
    return active_->UpdateRecord(row, outRow, ok);
  }
  HRESULT Seek(const VARIANT& key, SAFEARRAY** row, VARIANT_BOOL* found) override {
    return active_->Seek(key, row, found);
  }
  HRESULT Seek2(const VARIANT& k1, const VARIANT& k2, SAFEARRAY** row, VARIANT_BOOL* found) override {
    return active_->Seek2(k1, k2, row, found);
  }
  HRESULT Seek3(const VARIANT& k1, const VARIANT& k2, const VARIANT& k3, SAFEARRAY** row,
                VARIANT_BOOL* found) override {
    return active_->Seek3(k1, k2, k3, row, found);
  }
  HRESULT QueryRow(BSTR sql, SAFEARRAY** values, VARIANT_BOOL* found) override {
    return active_->QueryRow(sql, values, found);
  }
  HRESULT Execute(BSTR sql, VARIANT_BOOL* ok) override { return active_->Execute(sql, ok); }
  HRESULT IsEof(VARIANT_BOOL* eof) override { return active_->IsEof(eof); }
  HRESULT IsBof(VARIANT_BOOL* bof) override { return active_->IsBof(bof); }

  bool QueryColumns(const std::string& sql, const std::vector<std::string>& columns,
                    std::vector<CellRow>& rows) override {
    return active_->QueryColumns(sql, columns, rows);
  }
  std::pair<LONG, std::string> LastErrorUtf8() const override { return active_->LastErrorUtf8(); }

 private:
  ComPtr<Backend> Engine(bool server) { return server ? MakeServerBackend() : MakeFileBackend(); }

  // The engine for a project about to be opened or created; leaving one engine closes what it had
  // open, as opening another project on one connection always did.
  Backend* For(BSTR path) {
    bool server = IsLinkPath(BstrToUtf8(path));
    if (server != server_) {
      VARIANT_BOOL done;
      active_->Close(&done);
      active_ = Engine(server);
      server_ = server;
    }
    return active_.Get();
  }

  ComPtr<Backend> active_;
  bool server_ = false;
};

}  // namespace

ComPtr<Backend> MakeRoutingBackend() {
  ComPtr<Backend> made;
  made.Attach(new RoutingBackend());
  return made;
}

}  // namespace kvprojectdb
