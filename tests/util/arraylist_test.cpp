// Lists and blobs.
#include "base/list.h"
#include "base/refcount.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class ArrayListTest : public MemoryTest {};
class BlobTest : public MemoryTest {};

struct Item : Counted {
  int32_t number = 0;
};

void *copyItem(void *item) {
  return make<Item>("test", Counted{}, static_cast<Item *>(item)->number).release();
}

void releaseOneItem(void *item) {
  destroy(static_cast<Item *>(item));
}

List numbers(int32_t count) {
  List list(talvo_arraylist_new(nullptr, releaseOneItem));
  for (int32_t i = 0; i < count; ++i) {
    if (!append(list, make<Item>("test", Counted{}, i))) {
      return nullptr;
    }
  }
  return list;
}

TEST_F(ArrayListTest, KeepsItemsInOrderWhileItGrows) {
  const List list = numbers(100);
  ASSERT_EQ(talvo_arraylist_getcount(list.get()), 100);
  int32_t expected = 0;
  for (const Item *item : items<Item>(list)) {
    EXPECT_EQ(item->number, expected++);
  }
  EXPECT_EQ(expected, 100);
}

TEST_F(ArrayListTest, AnswersNothingOutsideItsRange) {
  const List list = numbers(2);
  EXPECT_EQ(talvo_arraylist_getitem(list.get(), -1), nullptr);
  EXPECT_EQ(talvo_arraylist_getitem(list.get(), 2), nullptr);
  EXPECT_EQ(talvo_arraylist_getitem(nullptr, 0), nullptr);
  EXPECT_EQ(talvo_arraylist_getcount(nullptr), -1);
  EXPECT_EQ(talvo_arraylist_pushback(list.get(), nullptr), 0);
  EXPECT_TRUE(items<Item>(List()).empty());
}

TEST_F(ArrayListTest, CopiesWhatIsPushedWhenItHasACopyFunction) {
  const Owned<Item> original = make<Item>("test", Counted{}, 7);
  const List list(talvo_arraylist_new(copyItem, releaseOneItem));
  ASSERT_EQ(talvo_arraylist_pushback(list.get(), original.get()), 1);
  const Item *kept = items<Item>(list)[0];
  EXPECT_NE(kept, original.get());
  EXPECT_EQ(kept->number, 7);
}

TEST_F(ArrayListTest, DetachedItemsAreTheCallers) {
  const List list = numbers(1);
  const Owned<Item> item(items<Item>(list)[0]);
  talvo_arraylist_detachitems(list.get());
  EXPECT_EQ(talvo_arraylist_getcount(list.get()), 0);
}

TEST_F(ArrayListTest, FailsCleanlyWithoutMemory) {
  everyAllocationFails([] {
    const List copies(talvo_arraylist_new(copyItem, releaseOneItem));
    const List originals = numbers(20);
    for (Item *item : items<Item>(originals)) {
      if (talvo_arraylist_pushback(copies.get(), item) != 1) {
        return false;
      }
    }
    return originals && talvo_arraylist_getcount(copies.get()) == 20;
  });
}

TEST_F(BlobTest, HoldsACopyOfAnyBytes) {
  uint8_t bytes[] = {0, 255, 0};
  const Blob blob(talvo_data_blob_new(bytes, sizeof(bytes)));
  bytes[1] = 1;
  const Blob copy(talvo_data_blob_dup(blob.get()));
  ASSERT_EQ(bytesOf(copy.get()).size(), 3U);
  EXPECT_EQ(bytesOf(copy.get())[1], 255);
}

TEST_F(BlobTest, EmptyBlobHasDataAndNullHasNone) {
  const Blob empty(talvo_data_blob_new(nullptr, 0));
  EXPECT_NE(talvo_data_blob_getdata(empty.get()), nullptr);
  EXPECT_EQ(talvo_data_blob_getlength(empty.get()), 0U);
  EXPECT_EQ(talvo_data_blob_new(nullptr, 1), nullptr);
  EXPECT_EQ(talvo_data_blob_getdata(nullptr), nullptr);
}

}  // namespace
}  // namespace talvo::test
