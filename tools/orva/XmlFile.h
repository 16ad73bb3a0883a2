/// @file
/// Loading an XML document for a command, with an error that says what is wrong.
#ifndef TARNU_TOOLS_ORVA_XMLFILE_H
#define TARNU_TOOLS_ORVA_XMLFILE_H

#include "tarnu/xml/OrvaXml.h"

#include <string>

namespace orva {

/// Loads the document's file; what is wrong is printed as an error.
bool LoadXml(OrvaXml& xml);

/// The text in a node and below it.
std::wstring TextIn(IXMLDOMNode* node);

} // namespace orva

#endif // TARNU_TOOLS_ORVA_XMLFILE_H
