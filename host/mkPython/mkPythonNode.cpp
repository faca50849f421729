#include "mkPython/mkPythonNode.h"

#include "OSGSystem/Geometry.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkPython/mkPythonMaterial.h"
#include "mkPython/mkPythonSupport.h"

#include <algorithm>
#include <new>

namespace {

namespace python = boost::python;
using python::converter::rvalue_from_python_stage1_data;
using python::converter::rvalue_from_python_storage;

using mkPython::raise;
using Nodes = std::vector<mkNodePtr>;

std::string getName(const mkPythonNode &self)
{
    return mkNodeUtils::getName(self.live());
}

std::string getPath(const mkPythonNode &self)
{
    return mkNodeUtils::getPath(self.live());
}

std::string getKind(const mkPythonNode &self)
{
    const osg::NodeCorePtr &core = self.live()->getCore();
    return core ? core->getType().getName() : "";
}

osg::NodePtr getParent(const mkPythonNode &self)
{
    return self.live()->getParent();
}

python::list getChildren(const mkPythonNode &self)
{
    python::list children;
    for (const osg::NodePtr &child : self.live()->getChildren()) {
        children.append(child);
    }
    return children;
}

python::object iterate(const python::object &list)
{
    return python::object(python::handle<>(PyObject_GetIter(list.ptr())));
}

python::object getIterator(const mkPythonNode &self)
{
    return iterate(getChildren(self));
}

/// The scene may change meanwhile, so what is below is listed first.
python::object walk(const mkPythonNode &self)
{
    python::list below;
    osg::traverse(self.live(), [&](const osg::NodePtr &node) {
        if (node != self.get()) {
            below.append(node);
        }
        return osg::Action::Continue;
    });
    return iterate(below);
}

python::object getIndex(const mkPythonNode &self)
{
    const osg::NodePtr parent = self.live()->getParent();
    if (!parent) {
        return {};
    }
    const auto &siblings = parent->getChildren();
    return python::object(std::find(siblings.begin(), siblings.end(), self.get())
                          - siblings.begin());
}

std::uint32_t getId(const mkPythonNode &self)
{
    return self.get()->getId();
}

python::object getMaterial(const mkPythonNode &self)
{
    const osg::Ptr<osg::DrawableBase> core(self.live()->getCore());
    return core && core->getMaterial() ? python::object(mkPythonMaterial(core->getMaterial()))
                                       : python::object();
}

bool isEqual(const mkPythonNode &self, const mkPythonNode &other)
{
    return self.get() == other.get();
}

Py_hash_t hash(const mkPythonNode &self)
{
    return Py_hash_t(self.get()->getId());
}

std::string repr(const mkPythonNode &self)
{
    return self.isAlive() ? "<mkHost.Node '" + mkNodeUtils::getPath(self.get()) + "'>"
                          : "<mkHost.Node '" + self.get()->getName() + "', not in the scene>";
}

const mkPythonNode *toNode(PyObject *object)
{
    return static_cast<const mkPythonNode *>(python::converter::get_lvalue_from_python(
        object, python::converter::registered<mkPythonNode>::converters));
}

bool isNodeOrNone(PyObject *object)
{
    return object == Py_None || toNode(object);
}

osg::NodePtr toHandle(PyObject *object)
{
    return object == Py_None ? osg::NodePtr() : toNode(object)->live();
}

/// Where Boost.Python wants the converted value.
template <typename Value>
void *storageOf(rvalue_from_python_stage1_data *data)
{
    return reinterpret_cast<rvalue_from_python_storage<Value> *>(data)->storage.bytes;
}

struct HandleFromPython
{
    static void *convertible(PyObject *object) { return isNodeOrNone(object) ? object : nullptr; }

    static void construct(PyObject *object, rvalue_from_python_stage1_data *data)
    {
        data->convertible = new (storageOf<osg::NodePtr>(data)) osg::NodePtr(toHandle(object));
    }
};

/// What Boost.Python raises for arguments that do not fit. It has no other way to reach it.
PyObject *argumentError()
{
    static PyObject *const type = [] {
        const python::object function = python::make_function(&getPath);
        Py_XDECREF(PyObject_CallNoArgs(function.ptr()));
        PyObject *found = nullptr;
        PyObject *value = nullptr;
        PyObject *traceback = nullptr;
        PyErr_Fetch(&found, &value, &traceback);
        Py_XDECREF(value);
        Py_XDECREF(traceback);
        return found;
    }();
    return type;
}

/// Any iterable, but neither texts nor a node, which would mean its children.
struct NodesFromPython
{
    static void *convertible(PyObject *object)
    {
        const bool iterable = Py_TYPE(object)->tp_iter || PySequence_Check(object);
        const bool other = PyUnicode_Check(object) || PyBytes_Check(object)
                           || PyByteArray_Check(object) || toNode(object);
        return iterable && !other ? object : nullptr;
    }

    static void construct(PyObject *object, rvalue_from_python_stage1_data *data)
    {
        Nodes nodes;
        const python::handle<> iterator(PyObject_GetIter(object));
        while (PyObject *const next = PyIter_Next(iterator.get())) {
            const python::handle<> element(next);
            if (!isNodeOrNone(next)) {
                raise(argumentError(), "element " + std::to_string(nodes.size()) + " is of type '"
                                           + Py_TYPE(next)->tp_name + "', where a Node is wanted");
            }
            nodes.emplace_back(toHandle(next));
        }
        if (PyErr_Occurred()) {
            throw python::error_already_set();
        }
        data->convertible = new (storageOf<Nodes>(data)) Nodes(std::move(nodes));
    }
};

struct HandleToPython
{
    static PyObject *convert(const osg::NodePtr &node)
    {
        return python::incref(node ? python::object(mkPythonNode(node)).ptr() : Py_None);
    }
};

struct NodesToPython
{
    static PyObject *convert(const Nodes &nodes)
    {
        python::list list;
        for (const mkNodePtr &node : nodes) {
            list.append(node.get());
        }
        return python::incref(list.ptr());
    }
};

template <typename Value, typename FromPython>
void registerFromPython()
{
    python::converter::registry::push_back(&FromPython::convertible, &FromPython::construct,
                                           python::type_id<Value>());
}

} // namespace

const osg::NodePtr &mkPythonNode::live() const
{
    if (!isAlive()) {
        raise(PyExc_ReferenceError,
              "The node '" + node->getName() + "' is not in the scene any more.");
    }
    return node;
}

bool mkPythonNode::isAlive() const
{
    return mkScenegraph::isInScene(node);
}

void mkPythonNode::define()
{
    python::class_<mkPythonNode>(
        "Node",
        "A node of the scene. Nodes are equal when they stand for the same place in the scene, "
        "whatever their names.\n\n"
        "A node that has left the scene raises ReferenceError when it is used.",
        python::no_init)
        .add_property("name", &getName, "The name; it need not be unique.")
        .add_property("path", &getPath,
                      R"(The names from the root to the node, as in "/studio/car/body".)")
        .add_property("kind", &getKind,
                      R"(What the node is, as in "Group", "Transform" or "Geometry".)")
        .add_property("material", &getMaterial, "The Material of its own; None without one.")
        .add_property("id", &getId, "A number that no other node has while this one is there.")
        .add_property("index", &getIndex, "The place among the children of the parent, from 0.")
        .add_property("parent", &getParent, "The node above; None for the root.")
        .add_property("children", &getChildren, "The nodes below, in order.")
        .add_property("alive", &mkPythonNode::isAlive,
                      "True while the node is in the scene; never raises.")
        .def("walk", &walk,
             "Returns an iterator over everything below the node, parents before children.")
        .def("__iter__", &getIterator)
        .def("__eq__", &isEqual)
        .def("__hash__", &hash)
        .def("__repr__", &repr)
        .def("__setattr__", &mkPython::setKnownAttribute);
    registerFromPython<osg::NodePtr, HandleFromPython>();
    registerFromPython<Nodes, NodesFromPython>();
    python::to_python_converter<osg::NodePtr, HandleToPython>();
    python::to_python_converter<Nodes, NodesToPython>();
}
