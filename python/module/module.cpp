// SPDX-License-Identifier: Apache-2.0
// The module mimetree._mimetree: the library's classes for Python.

#include "mimetree/version.h"
#include "python/module/message.h"

PYBIND11_MODULE(_mimetree, module) {
    module.attr("__version__") = MIMETREE_VERSION;
    // Where people find them.
    module.attr("__name__") = "mimetree";
    mimetree::python::addPart(module);
    mimetree::python::addMessage(module);
    mimetree::python::addBuilder(module);
    mimetree::python::addMailboxes(module);
    mimetree::python::addMboxWriter(module);
    mimetree::python::addFindingKinds(module);
    module.attr("__name__") = "mimetree._mimetree";
}
