// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/gltf_scene.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

namespace vistrel {
namespace {

using Json = nlohmann::json;

constexpr int kMostJsonDepth = 64;
constexpr std::uint64_t kMostGltfNumber = std::uint64_t{1} << 48;
constexpr std::size_t kMostGltfStride = 65536;
constexpr std::uint64_t kPositionBytes = 12;
constexpr std::string_view kSplatting = "KHR_gaussian_splatting";

[[noreturn]] void RefuseGltf(const std::string& reason) {
    throw std::runtime_error(reason);
}

Json ParseJson(std::string_view text) {
    const auto limitDepth = [](int depth, Json::parse_event_t, Json&) {
        if (depth > kMostJsonDepth) RefuseGltf("its JSON is nested too deeply");
        return true;
    };
    Json json = Json::parse(text, limitDepth, false);
    if (!json.is_object()) RefuseGltf("its JSON is damaged");
    return json;
}

// Null where there is none.
const Json* Find(const Json& object, std::string_view key) {
    if (!object.is_object()) return nullptr;
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

const Json& Need(const Json& object, std::string_view key) {
    const Json* const found = Find(object, key);
    if (found == nullptr)
        RefuseGltf("its JSON has no \"" + std::string(key) + "\" where it needs one");
    return *found;
}

std::uint64_t WholeNumber(const Json& value) {
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > kMostGltfNumber) {
        RefuseGltf("its JSON has no number where it needs one");
    }
    return value.get<std::uint64_t>();
}

std::uint64_t WholeNumber(const Json& object, std::string_view key, std::uint64_t otherwise) {
    const Json* const found = Find(object, key);
    return found == nullptr ? otherwise : WholeNumber(*found);
}

const Json& Entry(const Json& document, std::string_view list, std::uint64_t index) {
    const Json& entries = Need(document, list);
    if (!entries.is_array() || index >= entries.size()) {
        RefuseGltf("its JSON refers to what is not there");
    }
    return entries[index];
}

template <std::size_t kCount>
std::array<double, kCount> Numbers(const Json& object, std::string_view key,
                                   std::array<double, kCount> otherwise) {
    const Json* const found = Find(object, key);
    if (found == nullptr) return otherwise;
    const bool areNumbers =
        found->is_array() && found->size() == kCount &&
        std::ranges::all_of(*found, [](const Json& value) { return value.is_number(); });
    if (!areNumbers) RefuseGltf("its JSON has no numbers where it needs them");
    for (std::size_t i = 0; i < kCount; ++i) otherwise[i] = (*found)[i].get<double>();
    return otherwise;
}

bool IsText(const Json* value, std::string_view text) {
    return value != nullptr && value->is_string() && value->get_ref<const std::string&>() == text;
}

struct PlacedMesh {
    std::uint64_t mesh;
    Matrix4 matrix;
};

class GltfParser {
  public:
    GltfParser(std::string_view json, const std::optional<GltfBuffer>& glb,
               const std::filesystem::path& folder)
        : document_(ParseJson(json)), glb_(glb), folder_(folder) {}

    GltfScene Parse() {
        for (const PlacedMesh& placed : PlacedMeshes()) AddMesh(placed);
        if (scene_.primitives.empty()) RefuseGltf("it has no Gaussians");
        std::uint64_t bytes = 0;
        for (const GltfBuffer& buffer : buffers_) bytes += buffer.size;
        if (count_ > kMostGaussians || count_ * kPositionBytes > bytes) {
            RefuseGltf("its meshes are used more often than its size explains");
        }
        return std::move(scene_);
    }

  private:
    // Those of the scene, from its roots on.
    std::vector<PlacedMesh> PlacedMeshes() {
        struct Step {
            std::uint64_t node;
            Matrix4 parent;
        };
        std::vector<Step> steps;
        std::set<std::uint64_t> seen;
        std::vector<PlacedMesh> placed;
        const auto add = [&](const Json* nodes, const Matrix4& parent) {
            if (nodes == nullptr) return;
            if (!nodes->is_array()) RefuseGltf("its JSON is damaged");
            for (auto node = nodes->rbegin(); node != nodes->rend(); ++node) {
                steps.push_back({WholeNumber(*node), parent});
                if (!seen.insert(steps.back().node).second)
                    RefuseGltf("it has a node in two places");
            }
        };
        const Json& scene = Entry(document_, "scenes", WholeNumber(document_, "scene", 0));
        add(Find(scene, "nodes"), IdentityMatrix());
        while (!steps.empty()) {
            const Step step = steps.back();
            steps.pop_back();
            const Json& node = Entry(document_, "nodes", step.node);
            const Matrix4 matrix = Product(step.parent, LocalMatrix(node));
            if (const Json* const mesh = Find(node, "mesh")) {
                placed.push_back({WholeNumber(*mesh), matrix});
            }
            if (const Json* const camera = Find(node, "camera")) TakeCamera(*camera, matrix);
            add(Find(node, "children"), matrix);
        }
        return placed;
    }

    static Matrix4 LocalMatrix(const Json& node) {
        if (Find(node, "matrix") != nullptr) return Numbers(node, "matrix", Matrix4{});
        return MatrixOf(Numbers<3>(node, "translation", {0, 0, 0}),
                        Numbers<4>(node, "rotation", {0, 0, 0, 1}),
                        Numbers<3>(node, "scale", {1, 1, 1}));
    }

    // One that took a photograph, if it stands where ours stand.
    void TakeCamera(const Json& index, const Matrix4& matrix) {
        const Json& camera = Entry(document_, "cameras", WholeNumber(index));
        const Json* const extras = Find(camera, "extras");
        if (extras == nullptr || matrix != IdentityMatrix() || scene_.camera) return;
        for (const char* const key : {"focal", "centre", "size"}) {
            if (Find(*extras, key) == nullptr) return;
        }
        const auto [focalX, focalY] = Numbers<2>(*extras, "focal", {});
        const auto [centreX, centreY] = Numbers<2>(*extras, "centre", {});
        const auto [width, height] = Numbers<2>(*extras, "size", {});
        const auto isLength = [](double value) { return value > 1e-6 && value < 1e9; };
        if (!isLength(focalX) || !isLength(focalY) || !(width >= 1 && width < 1e9) ||
            !(height >= 1 && height < 1e9) || !(std::abs(centreX) < 1e9) ||
            !(std::abs(centreY) < 1e9)) {
            return;
        }
        scene_.camera =
            PhotographCamera{static_cast<float>(focalX),        static_cast<float>(focalY),
                             static_cast<float>(centreX),       static_cast<float>(centreY),
                             static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
    }

    void AddMesh(const PlacedMesh& placed) {
        const Json& primitives = Need(Entry(document_, "meshes", placed.mesh), "primitives");
        if (!primitives.is_array()) RefuseGltf("its JSON is damaged");
        for (const Json& primitive : primitives) {
            const Json* const extensions = Find(primitive, "extensions");
            const Json* const splatting =
                extensions == nullptr ? nullptr : Find(*extensions, kSplatting);
            if (splatting == nullptr) continue;
            const std::optional<Placement> placement = Placement::Of(placed.matrix);
            if (!placement) {
                RefuseGltf(
                    "a node stretches, mirrors or bends its Gaussians, which is not supported");
            }
            AddPrimitive(primitive, *splatting, *placement);
        }
    }

    void AddPrimitive(const Json& primitive, const Json& splatting, const Placement& placement) {
        if (WholeNumber(primitive, "mode", 4) != 0) RefuseGltf("its Gaussians are not points");
        if (!IsText(Find(splatting, "kernel"), "ellipse")) {
            RefuseGltf("its Gaussians have a kernel that is not supported");
        }
        if (!IsText(Find(splatting, "colorSpace"), "srgb_rec709_display")) {
            RefuseGltf("its Gaussians have a color space that is not supported");
        }
        const Json& attributes = Need(primitive, "attributes");
        GltfPrimitive added;
        added.placement = placement;
        added.position = Attribute(attributes, "POSITION", 3);
        added.count = added.position.count;
        added.rotation = Attribute(attributes, "KHR_gaussian_splatting:ROTATION", 4);
        added.scale = Attribute(attributes, "KHR_gaussian_splatting:SCALE", 3);
        added.opacity = Attribute(attributes, "KHR_gaussian_splatting:OPACITY", 1);
        AddHarmonics(attributes, added);
        for (const GltfAccessor* const accessor : {&added.rotation, &added.scale, &added.opacity}) {
            if (accessor->count != added.count) RefuseGltf("its attributes have different counts");
        }
        count_ += added.count;
        if (added.count > 0) scene_.primitives.push_back(added);
    }

    void AddHarmonics(const Json& attributes, GltfPrimitive& added) {
        std::size_t next = 0;
        for (int degree = 0;; ++degree) {
            const std::string start =
                "KHR_gaussian_splatting:SH_DEGREE_" + std::to_string(degree) + "_COEF_";
            if (degree > 0 && Find(attributes, start + "0") == nullptr) break;
            if (degree > kMostHarmonicsDegree) {
                RefuseGltf("it has harmonics of degree 4, more than 3");
            }
            for (int n = 0; n <= 2 * degree; ++n, ++next) {
                GltfAccessor& harmonic = added.harmonics[next];
                harmonic = Attribute(attributes, start + std::to_string(n), 3);
                if (harmonic.count != added.count) {
                    RefuseGltf("its attributes have different counts");
                }
            }
            added.degree = degree;
        }
    }

    GltfAccessor Attribute(const Json& attributes, const std::string& name,
                           std::size_t components) {
        const Json& accessor = Entry(document_, "accessors", WholeNumber(Need(attributes, name)));
        constexpr std::array<std::string_view, 5> kTypes = {"", "SCALAR", "", "VEC3", "VEC4"};
        if (!IsText(Find(accessor, "type"), kTypes[components])) {
            RefuseGltf("an attribute has another number of values than it needs");
        }
        if (Find(accessor, "sparse") != nullptr) RefuseGltf("sparse accessors are not supported");
        if (Find(accessor, "bufferView") == nullptr) {
            RefuseGltf("an attribute has no bytes or compressed ones, which is not supported");
        }
        GltfAccessor found;
        found.components = components;
        found.type = TypeOf(WholeNumber(Need(accessor, "componentType")));
        const Json* const normalized = Find(accessor, "normalized");
        found.isNormalized = normalized != nullptr && *normalized == true;
        found.count = WholeNumber(Need(accessor, "count"));
        Locate(accessor, found);
        return found;
    }

    static GltfType TypeOf(std::uint64_t number) {
        for (const GltfType type : {GltfType::Byte, GltfType::UnsignedByte, GltfType::Short,
                                    GltfType::UnsignedShort, GltfType::Float}) {
            if (number == static_cast<std::uint64_t>(type)) return type;
        }
        RefuseGltf("an attribute has a type that is not supported");
    }

    // Where the accessor's bytes are, all of which lie in its buffer's view.
    void Locate(const Json& accessor, GltfAccessor& found) {
        const Json& view =
            Entry(document_, "bufferViews", WholeNumber(Need(accessor, "bufferView")));
        const GltfBuffer& buffer = Buffer(WholeNumber(Need(view, "buffer")));
        const std::size_t element = found.components * GltfTypeBytes(found.type);
        const std::uint64_t start = WholeNumber(view, "byteOffset", 0);
        const std::uint64_t size = WholeNumber(Need(view, "byteLength"));
        const std::uint64_t offset = WholeNumber(accessor, "byteOffset", 0);
        found.stride = WholeNumber(view, "byteStride", element);
        if (found.stride < element || found.stride > kMostGltfStride) {
            RefuseGltf("its values lie nearer or farther from each other than they may");
        }
        const bool isInside =
            start <= buffer.size && size <= buffer.size - start && found.count <= kMostGaussians &&
            (found.count == 0 || offset + (found.count - 1) * found.stride + element <= size);
        if (!isInside) RefuseGltf("an attribute lies outside of its buffer");
        found.file = buffer.file;
        found.offset = buffer.offset + start + offset;
    }

    const GltfBuffer& Buffer(std::uint64_t index) {
        const Json& json = Entry(document_, "buffers", index);
        buffers_.resize(std::max<std::size_t>(buffers_.size(), index + 1));
        GltfBuffer& buffer = buffers_[index];
        if (buffer.file != nullptr) return buffer;
        if (const Json* const uri = Find(json, "uri")) {
            if (!uri->is_string()) RefuseGltf("its JSON is damaged");
            buffer = scene_.files.Open(uri->get_ref<const std::string&>(), folder_);
        } else {
            if (index != 0 || !glb_) RefuseGltf("a buffer is nowhere");
            buffer = *glb_;
        }
        const std::uint64_t size = WholeNumber(Need(json, "byteLength"));
        if (size > buffer.size) RefuseGltf("a buffer is shorter than it claims");
        buffer.size = size;
        return buffer;
    }

    const Json document_;
    const std::optional<GltfBuffer>& glb_;
    const std::filesystem::path& folder_;
    std::vector<GltfBuffer> buffers_;
    std::uint64_t count_ = 0;
    GltfScene scene_;
};

}  // namespace

GltfScene ParseGltf(std::string_view json, const std::optional<GltfBuffer>& glb,
                    const std::filesystem::path& folder) {
    return GltfParser(json, glb, folder).Parse();
}

}  // namespace vistrel
