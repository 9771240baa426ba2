#include <osl/cpputils/error.h>
#include <osl/linutils/attribute_file.h>
#include <osl/testing/temp_folder.h>
#include <osl/testing/test.h>

using namespace Osl::LinuxCppUtil;
using Osl::CppUtil::FileSystemError;

namespace {

class AttributeFileTest : public testing::Test
{
protected:
    std::string unreadable(const std::string& reason) const
    {
        return "IOErrorr: Generic filesystem Error: Cannot read sysfs entry: \"" + m_Path + "\": " + reason;
    }
    std::string unwritable(const std::string& reason) const
    {
        return "IOErrorr: Generic filesystem Error: Cannot write sysfs entry: \"" + m_Path + "\": " + reason;
    }

    TempFolder m_Folder;
    const std::string m_Path = m_Folder.root() + "/attribute";
};

} // namespace

TEST_F(AttributeFileTest, SizeIsADecimalNumberThatFillsTheText)
{
    const auto sizeOf = [&](const std::string& text) {
        m_Folder.put("/attribute", text);
        return readAttributeSize(m_Path);
    };
    EXPECT_EQ(sizeOf("64\n"), 64U);
    EXPECT_EQ(sizeOf(" 0 \n"), 0U);
    EXPECT_EQ(sizeOf("1048576"), ATTRIBUTE_TABLE_MAX);
    EXPECT_THAT(failureOf<FileSystemError>([&] { sizeOf(std::string(256, '1')); }),
                StartsWith(unreadable("its text is too long(")));
}

TEST_F(AttributeFileTest, TableIsAsLongAsAskedForWhateverTheFileHas)
{
    m_Folder.put("/attribute", std::vector<uint32_t>{1, 0xFFFFFFFF, 3});
    EXPECT_THAT(readAttributeTable(m_Path, 3), ElementsAre(1U, 0xFFFFFFFFU, 3U));
    EXPECT_THAT(readAttributeTable(m_Path, 4), ElementsAre(1U, 0xFFFFFFFFU, 3U, 0U));
    EXPECT_THAT(readAttributeTable(m_Path, 2), ElementsAre(1U, 0xFFFFFFFFU));
    EXPECT_TRUE(readAttributeTable(m_Path, 0).empty());

    m_Folder.put("/attribute", "123456789");
    std::vector<uint32_t> words(4);
    EXPECT_EQ(readAttributeWords(m_Path, words), 9U);
}

TEST_F(AttributeFileTest, WritesOverTheOldTableWithoutEmptyingTheFileFirst)
{
    m_Folder.put("/attribute", std::vector<uint32_t>{1, 2, 3});
    writeAttributeTable(m_Path, std::vector<uint32_t>{7, 8});
    EXPECT_THAT(m_Folder.words("/attribute"), ElementsAre(7U, 8U, 3U));
}

TEST_F(AttributeFileTest, FailuresNameTheFileAndTheReason)
{
    const std::vector<uint32_t> table{1};
    m_Folder.putFullDevice("/attribute");
    EXPECT_THAT(failureOf<FileSystemError>([&] { writeAttributeTable(m_Path, table); }),
                StartsWith(unwritable("No space left on device(")));
}
