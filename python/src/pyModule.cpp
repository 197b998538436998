// The module _zrdmtree, which the package zrdmtree is made of.
#include "pyCompare.h"
#include "pyConvert.h"
#include "pyDocuments.h"
#include "pyEdit.h"
#include "pyEnums.h"
#include "pyError.h"
#include "pyFindings.h"
#include "pyList.h"
#include "pyListener.h"
#include "pyMap.h"
#include "pyPicture.h"
#include "pyRules.h"
#include "pySet.h"
#include "pyTable.h"
#include "pyTime.h"
#include "pyTree.h"
#include "pyTypes.h"

#include "zrAssert.h"

PYBIND11_MODULE(_zrdmtree, module)
{
    // An interpreter is not stopped: where an assertion can be answered, the answer is to go on.
    zrSetAllowAssertCallback(
        [](const char* /*cond*/, const char* /*file*/, int /*line*/, void* /*data*/) { return false; }, nullptr);
    module.attr("__module__") = "zrdmtree"; // where scripts find what is defined here
    zrpy::addErrors(module);
    zrpy::addTypes(module);
    zrpy::addEnums(module);
    zrpy::addSets(module);
    zrpy::addLists(module);
    zrpy::addMaps(module);
    zrpy::addListeners(module);
    zrpy::addTimes(module);
    zrpy::addDocuments(module);
    zrpy::addConversions(module);
    zrpy::addTrees(module);
    zrpy::addFindings(module);
    zrpy::addRules(module);
    zrpy::addComparisons(module);
    zrpy::addTables(module);
    zrpy::addEdits(module);
    zrpy::addPictures(module);
}
