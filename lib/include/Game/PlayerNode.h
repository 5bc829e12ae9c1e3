// Public header: the application's object for one connection.
#pragma once

#include "Game/NetGame.h"

// The plain IPlayerNode: remembers the context it is bound to. Application session classes
// derive from it. Owned by the context it is bound to, and recycled with it.
class PlayerNode : public IPlayerNode {
  public:
    void Initialize() override {}
    void Release() override {}
    void SetContext(EPOLLContext* context) override { m_lpContext = context; }
    // Hands out the bound context; false when there is none.
    bool GetContext(EPOLLContext** context) override {
        *context = m_lpContext;
        return m_lpContext != nullptr;
    }

  protected:
    EPOLLContext* m_lpContext = nullptr;  // not owned; constant once bound
};
