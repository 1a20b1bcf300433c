// Namespaces of trees that get a parent: they are bound to the declarations in reach there. What is
// not declared there is declared on the top of the tree, so that all of it shares that; where the
// prefix means something else at a name, on the element itself, and there for an attribute with a
// prefix that is free.
#pragma once

#include <vector>

#include "xml/native.h"

namespace talvo {

// For trees that are about to stand below `scope`, an element, or null where no declaration
// reaches. Nothing is bound before `commit`, which cannot fail. Without it the declarations that
// were made are taken back in the end.
class NamespaceBinding {
 public:
  explicit NamespaceBinding(xmlNode *scope) noexcept : scope_(scope) {}
  ~NamespaceBinding();
  NamespaceBinding(const NamespaceBinding &) = delete;
  NamespaceBinding &operator=(const NamespaceBinding &) = delete;

  // False when memory is exhausted, and for an element that declares its own prefix for another
  // namespace than that of its name.
  bool plan(xmlNode *top) noexcept;
  void commit() noexcept;

 private:
  class Tree;
  struct Declaration {
    xmlNode *element;
    xmlNs *ns;
  };
  struct Bound {
    xmlNode *node;
    xmlNs *ns;
  };

  xmlNode *scope_;
  std::vector<Declaration> made_;
  std::vector<Bound> bound_;
};

}  // namespace talvo
