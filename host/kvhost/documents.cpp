// The documents kvhost runs, through the document manager.
#include "documents.h"

#include <cstdio>
#include <map>

#include "ap.h"

// Each document the manager creates gets an environment; the manager makes it the current
// session whenever the document becomes current.
struct Documents::Impl {
  Startup startup;
  std::map<AcApDocument*, std::unique_ptr<kvlisp::Environment>> environments;
  bool startupOk = true;

  void install() {
    AcApDocManager::Hooks hooks;
    hooks.created = [this](AcApDocument* d) {
      auto env = std::make_unique<kvlisp::Environment>();
      d->setLispSession(env.get());
      environments[d] = std::move(env);
    };
    hooks.loaded = [this](AcApDocument* d) {
      auto it = environments.find(d);
      if (it != environments.end() && !startup(*it->second)) startupOk = false;
    };
    hooks.destroyed = [this](AcApDocument* d) {
      d->setLispSession(nullptr);
      environments.erase(d);
    };
    acDocManager->setHooks(std::move(hooks));
  }
};

Documents::Documents(Startup startup) : impl_(std::make_unique<Impl>()) {
  impl_->startup = std::move(startup);
  impl_->install();
}

Documents::~Documents() { closeAll(); }

Documents::Opened Documents::open(const std::vector<std::string>& drawings) {
  if (drawings.empty()) acDocManager->newDocument();
  for (const std::string& path : drawings)
    if (!acDocManager->openDocument(kvads::toWide(path).c_str())) return Opened::CannotOpen;
  return impl_->startupOk ? Opened::Ok : Opened::StartupFailed;
}

kvlisp::Environment* Documents::current() {
  auto it = impl_->environments.find(acDocManager->curDocument());
  return it == impl_->environments.end() ? nullptr : it->second.get();
}

void Documents::closeAll() {
  if (!impl_) return;
  acDocManager->closeAll();
  acDocManager->setHooks({});
  impl_->environments.clear();
}

