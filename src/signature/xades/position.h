// Where properties are added after signing: behind everything that is already there.
#pragma once

#include "talvo_xml.h"

extern "C" {

// getUnsignedSignaturePropertiesLastChildPos returns the node behind which a new unsigned signature
// property is linked, and the namespace for it. `child` is a child of the Signature in the
// namespace of XML signatures; the Object with the properties is looked for behind it. Object,
// containers and the Id of the Signature are made where they are missing; they stay when a later
// step fails (null).
XmlNode *getUnsignedSignaturePropertiesLastChildPos(XmlNode *child, XmlNode **ns) noexcept;
}
