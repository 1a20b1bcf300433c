#include "xml/registry.h"

#include <random>
#include <vector>

#include "support/every_allocation_fails.h"
#include "xml/xml_support.h"

namespace talvo::test {
namespace {

// The table only compares pointers.
XmlNode *fakeNode(size_t number) {
  return reinterpret_cast<XmlNode *>(uintptr_t{16} * (number + 1));
}

std::vector<XmlNode *> nodesOf(NodeTable &table) {
  std::vector<XmlNode *> nodes;
  for (const TrackedNode &place : table.places()) {
    if (place.node != nullptr) {
      nodes.push_back(place.node);
    }
  }
  return nodes;
}

class NodeTableTest : public MemoryTest {};

TEST_F(NodeTableTest, DoublesWhenFull) {
  NodeTable table;
  for (size_t i = 0; i < 513; ++i) {
    ASSERT_TRUE(table.reserve());
    EXPECT_EQ(table.capacity(), i < 512 ? 512 : 1024);
    table.add(fakeNode(i), Tracking::registered);
  }
  EXPECT_EQ(table.count(), 513);
}

TEST_F(NodeTableTest, KeepsTheOrderThroughRandomChanges) {
  std::mt19937 random(7);
  NodeTable table;
  std::vector<XmlNode *> model;
  for (int step = 0; step < 20000; ++step) {
    XmlNode *node = fakeNode(random() % 1500);
    TrackedNode *entry = table.find(node);
    const auto at = std::find(model.begin(), model.end(), node);
    ASSERT_EQ(entry != nullptr, at != model.end());
    if (entry == nullptr) {
      ASSERT_TRUE(table.reserve());
      table.add(node, Tracking::detached);
      model.push_back(node);
    } else {
      table.remove(entry);
      model.erase(at);
    }
  }
  EXPECT_EQ(nodesOf(table), model);
  EXPECT_EQ(table.count(), static_cast<int32_t>(model.size()));
}

class RegistryTest : public LibraryTest {
 protected:
  static XmlNode *element(const char *name = "e") {
    return talvo_xml_node_newelem(nullptr, str(name).get());
  }
};

TEST_F(RegistryTest, ANodeIsRegisteredOnce) {
  XmlNode *node = element();
  EXPECT_EQ(g_nodeList->table.count(), 1);
  EXPECT_EQ(AddNodeInNodeList(node), 1);
  EXPECT_EQ(g_nodeList->table.count(), 1);
  talvo_xml_node_free(node);
  EXPECT_EQ(g_nodeList->table.count(), 0);
}

TEST_F(RegistryTest, FiveHundredAndThirteenNodesGrowIt) {
  for (int i = 0; i < 513; ++i) {
    ASSERT_NE(element(), nullptr);
  }
  EXPECT_EQ(g_nodeList->table.capacity(), 1024);
}

TEST_F(RegistryTest, TheLockNests) {
  const RegistryLock outer;
  const RegistryLock inner;
  EXPECT_TRUE(outer && inner);
  EXPECT_EQ(LockNodeList(), 1);
  EXPECT_EQ(UnlockNodeList(), 1);
}

TEST_F(RegistryTest, DeletingWhatIsNotThereSucceeds) {
  const Document document = parse("<a/>");
  EXPECT_EQ(DeleteNodeInNodeList(talvo_xml_doc_getrootelement(document.get())), 1);
  EXPECT_EQ(DeleteSibling(talvo_xml_doc_getrootelement(document.get())), 1);
  EXPECT_TRUE(isRegistered(document.get()));
}

TEST_F(RegistryTest, SiblingsAreUnregisteredWithANodeThatWas) {
  XmlNode *first = element("first");
  XmlNode *second = element("second");
  EXPECT_EQ(talvo_xml_node_addnextsibling(first, second), second);
  for (XmlNode *node : {first, second}) {
    EXPECT_FALSE(isRegistered(node));
    EXPECT_EQ(talvo_xml_node_addchild(element(), node), nullptr);
    talvo_xml_node_free(node);
    EXPECT_TRUE(isTracked(node)) << "kept for shut-down";
  }
}

TEST_F(RegistryTest, DocumentsKnowWhoPointsAtThem) {
  Document document = parse("<a><b/><c/></a>");
  XmlNode *b = find(document.get(), "b");
  talvo_xml_node_remove(b);
  EXPECT_EQ(originOf(b), document.get());
  document.reset();
  EXPECT_EQ(originOf(b), nullptr);
  EXPECT_TRUE(isTracked(b));
}

TEST_F(RegistryTest, WithoutMemoryNodesAreNotHandedOut) {
  while (g_nodeList->table.count() < g_nodeList->table.capacity()) {
    ASSERT_NE(element(), nullptr);
  }
  const UString name = str("one too many");
  talvo_memory_setfailafter(0);
  EXPECT_EQ(talvo_xml_node_newelem(nullptr, name.get()), nullptr);
  EXPECT_EQ(talvo_memory_hasfailed(), 1);
  talvo_memory_setfailafter(-1);
  EXPECT_EQ(g_nodeList->table.capacity(), 512);
  EXPECT_NE(talvo_xml_node_newelem(nullptr, name.get()), nullptr);
}

}  // namespace
}  // namespace talvo::test
