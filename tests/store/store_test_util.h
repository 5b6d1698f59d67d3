/* A data folder holding the group "fj.test", and groups of simple articles. */
#ifndef PELNOR_TEST_STORE_UTIL_H
#define PELNOR_TEST_STORE_UTIL_H

#include <gtest/gtest.h>

#include "sjis_samples.h"
#include "store/group_store.h"
#include "store/index_convert.h"
#include "support/store_bytes.h"
#include "support/temp_folder.h"

/* Articles whose head is one "Subject: " line, stored back to back from
 * article number `first`, with `flags[i]` in the i-th record; the records
 * are as an append makes them (sender "(Unknown)", date "0000"). */
struct SimpleGroup : GroupBytes {
    SimpleGroup(const std::vector<std::string> &subjects, uint32_t first, const std::vector<uint32_t> &flags)
    {
        for (uint32_t i = 0; i < subjects.size(); i++)
            Add({"Subject: " + subjects[i] + "\r\n"}, {"body " + std::to_string(i) + "\r\n"},
                RecordFields{flags[i], first + i, 0, 0, subjects[i], "0000", "(Unknown)"});
    }
};

class GroupFixture : public testing::Test {
protected:
    void SetUp() override
    {
        GroupStoreInit(&store_);
        ASSERT_TRUE(GroupStoreSetNames(&store_, folder_.path().c_str(), L"fj.test"));
    }
    void TearDown() override { GroupStoreRelease(&store_); }

    std::wstring IndexPath() const { return folder_.file(L"fj.test.idx"); }
    std::wstring LogPath() const { return folder_.file(L"fj.test.log"); }
    std::wstring FilterPath() const { return folder_.file(L"fj.test.flt"); }
    void WriteGroup(const SimpleGroup &group, const HeaderFields &header)
    {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), group.Index(header)));
        ASSERT_TRUE(WriteFileBytes(LogPath(), group.log));
    }

    TempFolder folder_;
    GroupStore store_;
};
#endif
