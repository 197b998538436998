#include "pyPicture.h"

#include "pyRelease.h"
#include "pyTime.h"
#include "pyValue.h"
#include "pyWalk.h"

#include "dmStoredLabel.h"
#include "dmUtf8.h"
#include "vwSceneBuild.h"
#include "vwSvg.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zrpy
{
namespace
{

/// What a scene is laid out of: a root; what is none, in one.
CoSharedPtr<DmRoot> rootOf(const CoSharedPtr<DmTreeNode>& tree)
{
    const eDmTreeNodeClassId kind = tree->whatIs();
    if (kind == DM_ROOT_NODE)
        return DM::staticPointerCast<DmRoot>(tree);
    if (kind != DM_COMPOSITION_NODE && kind != DM_REEL_NODE)
        raiseValue("a picture is one of a composition, or of what holds some");
    const CoSharedPtr<DmRoot> root = DmRoot::create();
    static_cast<void>(root->setName(tree->getName())); // fresh: cannot fail
    root->addChild(tree);
    return root;
}

/// The compositions of a tree, in the order of a walk, as a scene has them.
void collect(DmTreeNode& node, std::vector<DmCompositionNode*>& all)
{
    if (node.whatIs() == DM_COMPOSITION_NODE)
        all.push_back(static_cast<DmCompositionNode*>(&node));
    else
        for (int i = 0; i < node.getNbChildren(); ++i)
            if (DmTreeNode* const child = node.getChild(i))
                collect(*child, all);
}

double recordTime(const DmCompositionNode& composition, const py::object& time)
{
    const double frames = toFrames(time, dmFcmFromText(composition.getFCM()));
    return PyUnicode_Check(time.ptr()) || py::isinstance<Time>(time) ? composition.getRecordTime(frames) : frames;
}

std::string picture(const py::object& node, double width, const py::object& range, const py::object& tracks,
                    bool findings)
{
    const CoSharedPtr<DmTreeNode> tree = requireTree(node);
    const CoSharedPtr<DmRoot> root = rootOf(tree);
    if (!(width >= 200.0 && width <= 20000.0))
        raiseValue("a picture is 200 to 20000 pixels wide");
    view::SvgOptions options{.width = width};
    std::vector<DmCompositionNode*> compositions;
    collect(*root, compositions);
    if (compositions.empty())
        raiseValue("there is no composition to draw");
    if (!range.is_none())
    {
        const py::sequence ends = py::isinstance<py::sequence>(range) ? py::sequence(range) : py::sequence(py::tuple());
        if (py::len(ends) != 2 || PyUnicode_Check(range.ptr()))
            raiseType("range is two record times: (in, out)");
        options.range =
            view::Window{recordTime(*compositions.front(), ends[0]), recordTime(*compositions.front(), ends[1]), 0.0};
        if (!(options.range->out > options.range->in))
            raiseValue("the range ends before it begins");
    }
    if (PyUnicode_Check(tracks.ptr()))
        raiseType("tracks is a list of names");
    for (const py::handle each : py::iter(tracks))
        options.tracks.push_back(dmUtf8(toText(each, "a track's name")));

    std::string drawn;
    auto missing = options.tracks.cend();
    {
        const OthersRun others{tree.get()};
        view::Scene scene = view::sceneOf(*root, dmUtf8(root->getName()));
        missing = std::ranges::find_if_not(std::as_const(options.tracks), [&](const std::string& track)
                                           { return view::hasTrack(scene, scene.compositions.front(), track); });
        if (findings)
            view::addFindings(scene, *root);
        drawn = view::svgOf(scene, options);
    }
    if (missing != options.tracks.cend())
        raiseValue("there is no track '" + *missing + "'");
    return drawn;
}

} // namespace

void addPictures(py::module_& module)
{
    module.def("picture", &picture, py::arg("node"), py::kw_only(), py::arg("width") = 1200.0,
               py::arg("range") = py::none(), py::arg("tracks") = py::tuple(), py::arg("findings") = false,
               "A still of the first composition of a tree or a timeline, as SVG.\n\nrange: two record times. tracks: "
               "only these (\"V1\"). findings: lays on it what check() finds.");
}

} // namespace zrpy
