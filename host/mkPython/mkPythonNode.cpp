#include "mkPython/mkPythonNode.h"

#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkPython/mkPythonSupport.h"

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

/// Instances have a dictionary; without this a misspelt attribute would be set without a word.
void refuseAttribute(const mkPythonNode &, const std::string &name, const python::object &)
{
    raise(PyExc_AttributeError, "Node has no attribute '" + name + "' that can be set.");
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

struct NodesFromPython
{
    static void *convertible(PyObject *object)
    {
        if (!PySequence_Check(object) || PyUnicode_Check(object) || PyBytes_Check(object)
            || PyByteArray_Check(object)) {
            return nullptr;
        }
        const Py_ssize_t size = PySequence_Size(object);
        for (Py_ssize_t i = 0; i < size; ++i) {
            const python::handle<> element(python::allow_null(PySequence_GetItem(object, i)));
            if (!element || !isNodeOrNone(element.get())) {
                PyErr_Clear();
                return nullptr;
            }
        }
        PyErr_Clear();
        return size < 0 ? nullptr : object;
    }

    static void construct(PyObject *object, rvalue_from_python_stage1_data *data)
    {
        Nodes nodes;
        const Py_ssize_t size = PySequence_Size(object);
        if (size < 0) {
            throw python::error_already_set();
        }
        for (Py_ssize_t i = 0; i < size; ++i) {
            // A sequence of a script's own class may answer otherwise than before.
            const python::handle<> element(PySequence_GetItem(object, i));
            if (!isNodeOrNone(element.get())) {
                raise(PyExc_TypeError, "The sequence holds something that is no node.");
            }
            nodes.emplace_back(toHandle(element.get()));
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
        .add_property("parent", &getParent, "The node above; None for the root.")
        .add_property("children", &getChildren, "The nodes below, in order.")
        .add_property("alive", &mkPythonNode::isAlive,
                      "True while the node is in the scene; never raises.")
        .def("__eq__", &isEqual)
        .def("__hash__", &hash)
        .def("__repr__", &repr)
        .def("__setattr__", &refuseAttribute);
    registerFromPython<osg::NodePtr, HandleFromPython>();
    registerFromPython<Nodes, NodesFromPython>();
    python::to_python_converter<osg::NodePtr, HandleToPython>();
    python::to_python_converter<Nodes, NodesToPython>();
}
