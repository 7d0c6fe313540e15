// Attachments: path resolution against the document, the alias fallback, archives.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "Model/project/KSAttachment.h"
#include "Platform/core/KSBase64.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

namespace fs = std::filesystem;

// A private folder with files, removed afterwards.
class TempFolder {
public:
    TempFolder() {
        path_ = fs::temp_directory_path() /
                ("kestrum-attach-" + std::to_string(getpid()) + "-" + std::to_string(counter_++));
        fs::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ec;
        fs::remove_all(path_, ec);
    }
    std::string file(const std::string& name) {
        fs::path p = path_ / name;
        fs::create_directories(p.parent_path());
        std::ofstream(p) << name;
        return p.string();
    }
    std::string path(const std::string& name = {}) const { return (path_ / name).string(); }

private:
    fs::path path_;
    static inline int counter_ = 0;
};

class AttachmentTest : public ProjectTest {
protected:
    void SetUp() override {
        ProjectTest::SetUp();
        task = add<RecordingTask>("T");
        drain();
    }
    std::shared_ptr<KSAttachment> attach(KSDictionary archive) {
        auto attachment = KSAttachment::attachmentWithArchive(archive);
        task->addAttachment(attachment);
        return attachment;
    }
    std::shared_ptr<RecordingTask> task;
};

TEST_F(AttachmentTest, ARelativePathResolvesAgainstTheDocumentFolder) {
    document.file = "/plans/team/plan.kestrum";
    auto a = attach({{"externalPath", KSValue("../shared/brief v2.pdf")}});
    EXPECT_EQ(a->fullPathViaExternalPath(), "/plans/shared/brief v2.pdf");
    EXPECT_EQ(a->url(), "file:///plans/shared/brief%20v2.pdf");
    EXPECT_EQ(a->filename(), "brief v2.pdf");
    EXPECT_TRUE(a->isExternal());
    document.file = "file:///other/place/plan.kestrum";
    EXPECT_EQ(a->fullPathViaExternalPath(), "/other/shared/brief v2.pdf");
}

TEST_F(AttachmentTest, AnUnsavedDocumentFallsBackOnTheAliasFolder) {
    TempFolder folder;
    std::string target = folder.file("notes/a.txt");
    auto alias = BKAlias::aliasWithPath(target);
    ASSERT_NE(alias, nullptr);
    auto a = attach({{"externalPath", KSValue("b.txt")},
                     {"externalAlias", KSValue(KSBase64Encode(alias->data()))}});
    EXPECT_EQ(a->fullPathViaExternalPath(), folder.path("notes/b.txt"));
    auto noAlias = attach({{"externalPath", KSValue("b.txt")}});
    EXPECT_FALSE(noAlias->fullPathViaExternalPath().has_value());
    EXPECT_FALSE(noAlias->url().has_value());
}

TEST_F(AttachmentTest, AbsolutePathsStandAndMakeAnAlias) {
    TempFolder folder;
    std::string target = folder.file("x.txt");
    auto a = KSAttachment::attachmentWithURL("file://" + target);
    EXPECT_EQ(a->externalPath(), target);
    ASSERT_TRUE(a->aliasData().has_value());
    ASSERT_NE(a->externalAlias(), nullptr);
    EXPECT_EQ(a->externalAlias()->pathAllowingUnresolvedPath(), target);
    EXPECT_EQ(a->fullPathViaExternalPath(), target);
}

TEST_F(AttachmentTest, MissingPathAndAliasReadAsNull) {
    auto empty = attach({{"externalAlias", KSValue("")}});
    EXPECT_FALSE(empty->aliasData().has_value());
    EXPECT_FALSE(empty->isExternal());
    EXPECT_FALSE(empty->url().has_value());
    EXPECT_TRUE(empty->archiveDictionary().empty());
    auto garbage = attach({{"externalPath", KSValue("/a")}, {"externalAlias", KSValue("!!!")}});
    EXPECT_FALSE(garbage->aliasData().has_value());
}

TEST_F(AttachmentTest, ArchivesRelativeToTheSavingLocation) {
    auto a = attach({{"externalPath", KSValue("/home/u/new/att/x.pdf")}});
    KSDictionary archive = a->archiveDictionary();
    EXPECT_EQ(archive.objectForKey("externalPath"), KSValue("/home/u/new/att/x.pdf"));
    EXPECT_EQ(archive.objectForKey("externalAlias"), KSValue(""));
    document.saving = "/home/u/new/plan.kestrum";
    EXPECT_EQ(a->archiveDictionary().objectForKey("externalPath"), KSValue("att/x.pdf"));
    auto relative = attach({{"externalPath", KSValue("r/y.pdf")}});
    EXPECT_EQ(relative->archiveDictionary().objectForKey("externalPath"), KSValue("r/y.pdf"));
}

TEST_F(AttachmentTest, FixingThePathIsUndoable) {
    document.file = "/plans/p.kestrum";
    auto a = attach({{"externalPath", KSValue("old/a.pdf")}});
    drain();
    a->setExternalPath(std::string("/elsewhere/b.pdf"));
    EXPECT_EQ(a->externalPath(), "/elsewhere/b.pdf");
    EXPECT_EQ(undo().undoActionName(), "Fix Attachment");
    drain();
    undo().undo();
    EXPECT_EQ(a->externalPath(), "old/a.pdf");
    undo().redo();
    EXPECT_EQ(a->externalPath(), "/elsewhere/b.pdf");
    a->setExternalPath(std::string("/elsewhere/b.pdf"));  // same: nothing recorded
    EXPECT_EQ(undo().groupingLevel(), 0);
}

TEST_F(AttachmentTest, UpdatingToABaseMakesAbsolutePathsRelative) {
    auto a = attach({{"externalPath", KSValue("/plans/docs/a.pdf")}});
    auto rel = attach({{"externalPath", KSValue("b.pdf")}});
    task->updateAttachmentsToBaseURL("/plans/p.kestrum");
    EXPECT_EQ(a->externalPath(), "docs/a.pdf");
    EXPECT_EQ(rel->externalPath(), "b.pdf");
}

TEST(AliasTest, SurvivesARenameInItsFolder) {
    TempFolder folder;
    std::string original = folder.file("report.txt");
    auto alias = BKAlias::aliasWithPath(original);
    ASSERT_NE(alias, nullptr);
    KSData data = alias->data();
    fs::rename(original, folder.path("renamed.txt"));
    auto restored = BKAlias::aliasWithData(data);
    ASSERT_NE(restored, nullptr);
    EXPECT_EQ(restored->resolvedPath(), folder.path("renamed.txt"));
    fs::remove(folder.path("renamed.txt"));
    EXPECT_FALSE(restored->resolvedPath().has_value());
    EXPECT_EQ(restored->pathAllowingUnresolvedPath(), original);
}

TEST(AliasTest, RefusesDataThatIsNoAlias) {
    EXPECT_EQ(BKAlias::aliasWithData({}), nullptr);
    EXPECT_EQ(BKAlias::aliasWithData({1, 2, 3}), nullptr);
    EXPECT_EQ(BKAlias::aliasWithPath(""), nullptr);
    auto missing = BKAlias::aliasWithPath("/no/such/file.txt");
    ASSERT_NE(missing, nullptr);
    EXPECT_EQ(missing->pathAllowingUnresolvedPath(), "/no/such/file.txt");
}

}  // namespace
}  // namespace kestrum::test
