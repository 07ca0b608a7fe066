// The GenICam description of simulated cameras: well-formed, consistent, and usable by an engine.
#include "test_camera.h"

#include <arv.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <map>
#include <memory>
#include <set>

namespace simulator::test
{

namespace
{

struct XmlFree {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, XmlFree>;

std::string attribute(xmlNode* node, const char* name)
{
    xmlChar* text = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    const std::string value = text == nullptr ? "" : reinterpret_cast<const char*>(text);
    xmlFree(text);
    return value;
}

std::string contentOf(xmlNode* node)
{
    xmlChar* text = xmlNodeGetContent(node);
    const std::string value = reinterpret_cast<const char*>(text);
    xmlFree(text);
    return value;
}

std::string nameOf(xmlNode* node) { return reinterpret_cast<const char*>(node->name); }

template <typename Visit> void forElements(xmlNode* parent, Visit visit)
{
    for (xmlNode* child = parent->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            visit(child);
        }
    }
}

/// Aravis' engine over a camera model.
struct ModelDevice {
    ArvDevice parent;
    CameraModel* model;
    ArvGc* gc;
};
struct ModelDeviceClass {
    ArvDeviceClass parent;
};
G_DEFINE_TYPE(ModelDevice, model_device, ARV_TYPE_DEVICE)

gboolean result(std::int32_t code, GError** error)
{
    if (code != 0) {
        g_set_error(error, g_quark_from_static_string("camera"), code, "code %d", code);
    }
    return code == 0 ? TRUE : FALSE;
}

ModelDevice* modelDevice(ArvDevice* device) { return reinterpret_cast<ModelDevice*>(device); }

void model_device_init(ModelDevice*) {}

void model_device_class_init(ModelDeviceClass* type)
{
    ArvDeviceClass& device = type->parent;
    device.get_genicam = [](ArvDevice* self) { return modelDevice(self)->gc; };
    device.read_memory = [](ArvDevice* self, guint64 address, guint32 size, void* data,
                            GError** error) {
        return result(modelDevice(self)->model->read(address, data, size), error);
    };
    device.write_memory = [](ArvDevice* self, guint64 address, guint32 size, void* data,
                             GError** error) {
        return result(modelDevice(self)->model->write(address, data, size), error);
    };
}

class Engine
{
public:
    explicit Engine(CameraModel& model)
        : device_(static_cast<ModelDevice*>(g_object_new(model_device_get_type(), nullptr)))
    {
        device_->model = &model;
        device_->gc = arv_gc_new(&device_->parent, model.xml().data(), model.xml().size());
    }
    ~Engine()
    {
        g_object_unref(device_->gc);
        g_object_unref(device_);
    }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    ArvGcNode* node(const std::string& name) { return arv_gc_get_node(device_->gc, name.c_str()); }
    /// The value as text, or the error as "! ...".
    std::string value(const std::string& name)
    {
        GError* error = nullptr;
        const char* text = arv_gc_feature_node_get_value_as_string(
            reinterpret_cast<ArvGcFeatureNode*>(node(name)), &error);
        return finish(text == nullptr ? "" : text, error);
    }
    std::string set(const std::string& name, const std::string& value)
    {
        GError* error = nullptr;
        arv_gc_feature_node_set_value_from_string(reinterpret_cast<ArvGcFeatureNode*>(node(name)),
                                                  value.c_str(), &error);
        return finish("", error);
    }
    std::set<std::string> entries(const std::string& name)
    {
        guint count = 0;
        GError* error = nullptr;
        const char** names = arv_gc_enumeration_dup_available_string_values(
            reinterpret_cast<ArvGcEnumeration*>(node(name)), &count, &error);
        std::set<std::string> all(names, names + count);
        g_free(names);
        return all;
    }

private:
    static std::string finish(std::string text, GError* error)
    {
        if (error != nullptr) {
            text = std::string("! ") + error->message;
            g_error_free(error);
        }
        return text;
    }

    ModelDevice* device_;
};

std::vector<CameraConfig> everyKind()
{
    std::vector<CameraConfig> all;
    for (const InterfaceConfig& each : defaultInterfaces()) {
        all.insert(all.end(), each.cameras.begin(), each.cameras.end());
    }
    return all;
}

} // namespace

TEST(Description, EveryLinkResolvesAndEveryFeatureIsExplained)
{
    for (const CameraConfig& config : everyKind()) {
        const CameraModel model(config);
        const Document document(xmlReadMemory(model.xml().data(),
                                              static_cast<int>(model.xml().size()), nullptr,
                                              nullptr, XML_PARSE_NONET));
        ASSERT_NE(document, nullptr);
        xmlNode* root = xmlDocGetRootElement(document.get());
        EXPECT_EQ(nameOf(root), "RegisterDescription");
        std::map<std::string, xmlNode*> nodes;
        forElements(root, [&](xmlNode* node) {
            EXPECT_TRUE(nodes.emplace(attribute(node, "Name"), node).second)
                << attribute(node, "Name") << " stands there twice";
        });
        std::set<std::string> visibilities;
        std::set<std::string> inTree;
        for (const auto& [name, node] : nodes) {
            std::set<std::string> has;
            const auto check = [&, name = name](xmlNode* child) {
                has.insert(nameOf(child));
                if (nameOf(child)[0] == 'p') {
                    EXPECT_EQ(nodes.count(contentOf(child)), 1u)
                        << name << ": " << nameOf(child) << ' ' << contentOf(child);
                }
                if (nameOf(child) == "pFeature") {
                    EXPECT_TRUE(inTree.insert(contentOf(child)).second) << contentOf(child);
                }
                if (nameOf(child) == "Visibility") {
                    visibilities.insert(contentOf(child));
                }
            };
            forElements(node, [&](xmlNode* child) {
                check(child);
                forElements(child, check);
            });
            if (inTree.count(name) != 0) {
                EXPECT_EQ(has.count("ToolTip") + has.count("Description"), 2u) << name;
            }
        }
        EXPECT_GT(inTree.size(), 150u);
        EXPECT_EQ(visibilities, (std::set<std::string>{"Beginner", "Expert", "Guru", "Invisible"}));
    }
}

TEST(Description, EngineReadsEveryFeature)
{
    for (const CameraConfig& config : everyKind()) {
        TestCamera camera(config);
        Engine engine(camera.model);
        const std::string& xml = camera.model.xml();
        for (std::size_t at = xml.find("<pFeature>"); at != std::string::npos;
             at = xml.find("<pFeature>", at + 1)) {
            const std::string name = xml.substr(at + 10, xml.find('<', at + 10) - at - 10);
            ASSERT_NE(engine.node(name), nullptr) << name;
            // Event and chunk data have no register of their own.
            const std::size_t reg = xml.find(" Name=\"" + name + "Reg\"");
            const bool isData =
                reg != std::string::npos &&
                xml.substr(reg, xml.find("</pPort>", reg) - reg).find("<pPort>Device") ==
                    std::string::npos;
            // LineSource is for outputs only.
            if (name != "LineSource" && !ARV_IS_GC_CATEGORY(engine.node(name)) &&
                !ARV_IS_GC_COMMAND(engine.node(name)) && !isData) {
                EXPECT_NE(engine.value(name).substr(0, 1), "!") << name << engine.value(name);
            }
        }
    }
}

/// The parts of the description that are more than a register: selectors, converters, formulas,
/// bits of a mask.
TEST(Description, EngineComputesAsTheCameraDoes)
{
    TestCamera camera(everyKind().front());
    Engine engine(camera.model);
    EXPECT_EQ(engine.set("GainSelector", "DigitalAll"), "");
    EXPECT_EQ(engine.set("Gain", "6"), "");
    EXPECT_EQ(engine.set("GainSelector", "AnalogAll"), "");
    EXPECT_EQ(engine.value("Gain"), "0");
    EXPECT_EQ(camera.getReal("Gain", 1), 6.0);
    EXPECT_NEAR(std::stod(engine.value("DeviceTemperature")), 25.0, 1.0);
    ASSERT_EQ(camera.run("TimestampLatch"), 0);
    EXPECT_EQ(std::stoll(engine.value("TimestampLatchValue")),
              camera.get("TimestampLatchHigh") * 4294967296 + camera.get("TimestampLatchLow"));
    EXPECT_EQ(engine.entries("PixelFormat").count("Mono16"), 1u);
    EXPECT_EQ(engine.set("DeviceLinkThroughputLimit", "20000000"), "");
    EXPECT_EQ(engine.set("DeviceLinkThroughputLimitMode", "On"), "");
    EXPECT_EQ(engine.entries("PixelFormat").count("Mono16"), 0u);
    EXPECT_EQ(engine.entries("PixelFormat").count("Mono12Packed"), 1u);
    EXPECT_EQ(engine.set("DeviceUserID", "from the engine"), "");
    EXPECT_EQ(camera.model.userDefinedName(), "from the engine");
}

} // namespace simulator::test
