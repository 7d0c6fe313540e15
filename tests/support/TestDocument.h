// The application's side of a plan in tests: an undo manager, file locations, and the
// errors and heading-number requests the model sends to its document.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Model/project/KSDocumentProtocol.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum::test {

class TestDocument : public KSDocumentProtocol {
public:
    KSUndoManager* undoManager() override { return undo.get(); }
    std::optional<std::string> fileURL() const override { return file; }
    std::optional<std::string> savingToURL() const override { return saving; }
    void presentError(const KSError& error) override { errors.push_back(error); }
    void setShowHeadingNumbers(bool flag) override { headingNumbers = flag; }
    void resourceLoadSubscriptionFlagDidChange() override {}

    std::shared_ptr<KSUndoManager> undo = std::make_shared<KSUndoManager>();
    std::optional<std::string> file;
    std::optional<std::string> saving;
    std::vector<KSError> errors;
    bool headingNumbers = false;
};

}  // namespace kestrum::test
