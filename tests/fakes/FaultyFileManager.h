// File manager double: the real one, with owners and failures of a test's choosing for some paths.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "Platform/Files/FileManager.h"

namespace quillmore::tests {

/// Shared by the test and every file manager it hands out.
struct FileFaults {
    std::map<std::string, std::string, std::less<>> owners;            ///< Account names, by path.
    std::map<std::string, platform::Error, std::less<>> copyErrors;    ///< By target.
    std::map<std::string, platform::Error, std::less<>> moveErrors;    ///< By target.
    std::map<std::string, platform::Error, std::less<>> removeErrors;  ///< By item.
    std::map<std::string, platform::Error, std::less<>> folderErrors;  ///< By folder.
    std::set<std::string, std::less<>> readOnly;  ///< Not to be written; root's tests need it said.
};

class FaultyFileManager final : public platform::FileManager {
public:
    FaultyFileManager(std::string root, std::shared_ptr<const FileFaults> faults)
        : FileManager(std::move(root)), faults_(std::move(faults)) {}

    std::optional<platform::FileAttributes> attributes(std::string_view path) const override {
        auto attributes = FileManager::attributes(path);
        const auto owner = faults_->owners.find(path);
        if (attributes && owner != faults_->owners.end())
            attributes->ownerAccountName = owner->second;
        return attributes;
    }
    /// Leaves half a copy, as a full disk does, where nothing was before.
    std::optional<platform::Error> copyItem(std::string_view from,
                                            std::string_view to) const override {
        const auto error = faults_->copyErrors.find(to);
        if (error == faults_->copyErrors.end()) return FileManager::copyItem(from, to);
        if (!fileExists(to)) static_cast<void>(writeAtomically(to, "half", 0644));
        return error->second;
    }
    std::optional<platform::Error> moveItem(std::string_view from,
                                            std::string_view to) const override {
        const auto error = faults_->moveErrors.find(to);
        if (error == faults_->moveErrors.end()) return FileManager::moveItem(from, to);
        return error->second;
    }
    std::optional<platform::Error> removeItem(std::string_view path) const override {
        const auto error = faults_->removeErrors.find(path);
        if (error == faults_->removeErrors.end()) return FileManager::removeItem(path);
        return error->second;
    }
    bool isWritable(std::string_view path) const override {
        return !faults_->readOnly.contains(path) && FileManager::isWritable(path);
    }
    std::optional<platform::Error> createDirectory(std::string_view path,
                                                   mode_t mode) const override {
        const auto error = faults_->folderErrors.find(path);
        if (error == faults_->folderErrors.end()) return FileManager::createDirectory(path, mode);
        return error->second;
    }

private:
    std::shared_ptr<const FileFaults> faults_;
};

}  // namespace quillmore::tests
