#include "mkPython/mkPythonMaterial.h"

#include "mkKernel/mkController.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkPython/mkPythonSupport.h"

#include <algorithm>
#include <cmath>

namespace {

namespace python = boost::python;
using mkPython::raise;
using osg::Material;

constexpr const char *alphaModes[] = { "opaque", "mask", "blend" };

float toNumber(const python::object &value)
{
    const python::extract<double> number(value);
    if (!number.check()) {
        raise(PyExc_TypeError, "A number is wanted.");
    }
    const double result = number();
    if (!std::isfinite(result)) {
        raise(PyExc_ValueError, "A finite number is wanted.");
    }
    return float(result);
}

template <std::size_t Count>
python::tuple toTuple(const std::array<float, Count> &numbers)
{
    python::list list;
    for (const float number : numbers) {
        list.append(number);
    }
    return python::tuple(list);
}

template <std::size_t Count>
std::array<float, Count> toArray(const python::object &value)
{
    const python::list list(value);
    if (python::len(list) != python::ssize_t(Count)) {
        raise(PyExc_ValueError, std::to_string(Count) + " numbers are wanted.");
    }
    std::array<float, Count> numbers{};
    for (std::size_t i = 0; i < Count; ++i) {
        numbers[i] = toNumber(list[i]);
    }
    return numbers;
}

template <float (Material::*get)() const, void (Material::*set)(float)>
void addNumber(python::class_<mkPythonMaterial> &type, const char *name, const char *doc)
{
    type.add_property(
        name, +[](const mkPythonMaterial &self) { return (self.get().get()->*get)(); },
        +[](const mkPythonMaterial &self, const python::object &value) {
            (self.get().get()->*set)(toNumber(value));
            mkController::setModified(1);
        },
        doc);
}

python::tuple getColor(const mkPythonMaterial &self)
{
    return toTuple(self.get()->getColor());
}

void setColor(const mkPythonMaterial &self, const python::object &value)
{
    python::list color(value);
    if (python::len(color) == 3) {
        color.append(self.get()->getColor()[3]);
    }
    self.get()->setColor(toArray<4>(color));
    mkController::setModified(1);
}

python::tuple getEmission(const mkPythonMaterial &self)
{
    return toTuple(self.get()->getEmission());
}

void setEmission(const mkPythonMaterial &self, const python::object &value)
{
    self.get()->setEmission(toArray<3>(value));
    mkController::setModified(1);
}

std::string getAlphaMode(const mkPythonMaterial &self)
{
    return alphaModes[int(self.get()->getAlphaMode())];
}

void setAlphaMode(const mkPythonMaterial &self, const std::string &mode)
{
    const auto *const found = std::find(std::begin(alphaModes), std::end(alphaModes), mode);
    if (found == std::end(alphaModes)) {
        raise(PyExc_ValueError, R"(The alpha mode is "opaque", "mask" or "blend".)");
    }
    self.get()->setAlphaMode(Material::AlphaMode(found - std::begin(alphaModes)));
    mkController::setModified(1);
}

bool isShadowMaterial(const mkPythonMaterial &self)
{
    return self.get()->isShadowMaterial();
}

void setShadowMaterial(const mkPythonMaterial &self, bool on)
{
    self.get()->setShadowMaterial(on);
    mkController::setModified(1);
}

bool isEqual(const mkPythonMaterial &self, const mkPythonMaterial &other)
{
    return self.get() == other.get();
}

Py_hash_t hash(const mkPythonMaterial &self)
{
    return Py_hash_t(self.get()->getId());
}

std::string repr(const mkPythonMaterial &self)
{
    return "<mkHost.Material '" + self.getName() + "'>";
}

python::list getMaterials()
{
    python::list all;
    for (const osg::MaterialPtr &material : mkMaterials::getMaterials()) {
        all.append(mkPythonMaterial(material));
    }
    return all;
}

python::object findMaterial(const std::string &name)
{
    const osg::MaterialPtr material = mkMaterials::findMaterial(name.c_str()).get();
    return material ? python::object(mkPythonMaterial(material)) : python::object();
}

mkPythonMaterial createMaterial(const std::string &name)
{
    const osg::MaterialPtr material = Material::create();
    mkMaterials::addMaterial(material);
    std::vector<std::string> taken;
    for (const osg::MaterialPtr &other : mkMaterials::getMaterials()) {
        taken.push_back(other->getName());
    }
    // Views hear of the material by its name.
    material->setName(mkNodeUtils::getUniqueName(name.empty() ? "Material" : name, taken));
    mkController::setModified(1);
    return mkPythonMaterial(material);
}

} // namespace

void mkPythonMaterial::setName(const std::string &name)
{
    const osg::MaterialPtr other = mkMaterials::findMaterial(name.c_str()).get();
    if (other == material) {
        return;
    }
    if (name.empty() || other) {
        raise(PyExc_ValueError, name.empty() ? "A material needs a name."
                                             : "There is a material '" + name + "' already.");
    }
    material->setName(name);
    mkController::setModified(1);
    mkMessage message("materialRenamed");
    message.set("material", material);
    mkController::sendMessage(message);
}

void mkPythonMaterial::define()
{
    python::class_<mkPythonMaterial>
        type("Material",
             "How a surface looks. What can be set shows at once; numbers outside the bounds given "
             "are taken to the nearest bound.",
             python::no_init);
    type.add_property("name", &mkPythonMaterial::getName, &mkPythonMaterial::setName,
                      "The name; unique. One that is empty or taken raises ValueError.")
        .add_property("color", &getColor, &setColor,
                      "The base colour: red, green, blue, alpha, each 0 to 1, linear. Three "
                      "numbers leave alpha as it is.");
    addNumber<&Material::getMetallic, &Material::setMetallic>(type, "metallic",
                                                              "0, a dielectric, to 1, a metal.");
    addNumber<&Material::getRoughness, &Material::setRoughness>(type, "roughness",
                                                                "0, a mirror, to 1.");
    addNumber<&Material::getTransmission,
              &Material::setTransmission>(type, "transmission",
                                          "The share of the light that passes, 0 to 1.");
    addNumber<&Material::getIndexOfRefraction,
              &Material::setIndexOfRefraction>(type, "ior",
                                               "The index of refraction of the inside, 1 to 10.");
    addNumber<&Material::getAlphaCutoff,
              &Material::setAlphaCutoff>(type, "alphaCutoff",
                                         R"(Of the alpha mode "mask": where the surface ends.)");
    type.add_property("emission", &getEmission, &setEmission,
                      "Red, green, blue, linear; may exceed 1.")
        .add_property("alphaMode", &getAlphaMode, &setAlphaMode,
                      R"("opaque", "mask" or "blend": what alpha does.)")
        .add_property("shadowMaterial", &isShadowMaterial, &setShadowMaterial,
                      "True for a surface that shows only the shadows that fall on it.")
        .def("__eq__", &isEqual)
        .def("__hash__", &hash)
        .def("__repr__", &repr)
        .def("__setattr__", &mkPython::setKnownAttribute);
    mkPython::define("_getMaterials", &getMaterials);
    mkPython::define("_findMaterial", &findMaterial);
    mkPython::define("_createMaterial", &createMaterial);
}
