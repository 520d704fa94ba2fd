// Reading of scene files: the JSON text is parsed by the JSON library, then every value is checked
// as it is taken, and each fault is thrown with its JSON path. Links between nodes, materials and
// textures are made in a second step, once every target exists.
#include "host/scene.h"
#include "host/scene_materials.h"

#include "names/utf8.h"
#include "storage/osfile.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <functional>
#include <initializer_list>
#include <limits>
#include <map>
#include <set>

namespace scene
{
using namespace host;
using json = nlohmann::json;

namespace
{
// A value of the file with its JSON path.
struct At
{
    const json& j;
    std::string path;

    At Member(const char* key) const { return {j.at(key), path + "/" + key}; }
    At Element(size_t i) const { return {j.at(i), path + "/" + std::to_string(i)}; }
    bool Has(const char* key) const { return j.is_object() && j.contains(key); }
    // A key that is there and not null.
    bool Given(const char* key) const { return Has(key) && !j.at(key).is_null(); }
};

const char* TypeName(const json& j)
{
    switch (j.type())
    {
    case json::value_t::null:
        return "null";
    case json::value_t::object:
        return "an object";
    case json::value_t::array:
        return "an array";
    case json::value_t::string:
        return "a string";
    case json::value_t::boolean:
        return "a boolean";
    case json::value_t::number_float:
        return "a number with a fraction";
    default:
        return "a number";
    }
}

// Every object class the file can name, with the family it belongs to.
struct NamedClass
{
    const char* name;
    ClassInfo info;
};

const NamedClass s_objectClasses[] = {
    {"triObject", {TRIOBJ_CLASS_ID, GEOMOBJECT_CLASS_ID, "Mesh"}},
    {"editableMesh", {EDITTRIOBJ_CLASS_ID, GEOMOBJECT_CLASS_ID, "Editable Mesh"}},
    {"editablePoly", {EPOLYOBJ_CLASS_ID, GEOMOBJECT_CLASS_ID, "Editable Poly"}},
    {"patch", {PATCHOBJ_CLASS_ID, GEOMOBJECT_CLASS_ID, "Editable Patch"}},
    {"box", {BOXOBJ_CLASS_ID, GEOMOBJECT_CLASS_ID, "Box"}},
    {"bone", {BONE_OBJ_CLASSID, GEOMOBJECT_CLASS_ID, "Bone"}},
    {"dummy", {DUMMY_CLASS_ID, HELPER_CLASS_ID, "Dummy"}},
    {"point", {POINTHELP_CLASS_ID, HELPER_CLASS_ID, "Point"}},
    {"target", {TARGET_CLASS_ID, HELPER_CLASS_ID, "Target"}},
    {"freeCamera", {SIMPLE_CAM_CLASS_ID, CAMERA_CLASS_ID, "Free Camera"}},
    {"targetCamera", {LOOKAT_CAM_CLASS_ID, CAMERA_CLASS_ID, "Target Camera"}},
    {"directionalLight", {DIR_LIGHT_CLASS_ID, LIGHT_CLASS_ID, "Directional"}},
    {"targetDirectionalLight", {TDIR_LIGHT_CLASS_ID, LIGHT_CLASS_ID, "Target Directional"}},
    {"omniLight", {OMNI_LIGHT_CLASS_ID, LIGHT_CLASS_ID, "Omni"}},
    {"targetSpotLight", {SPOT_LIGHT_CLASS_ID, LIGHT_CLASS_ID, "Target Spot"}},
    {"freeSpotLight", {FSPOT_LIGHT_CLASS_ID, LIGHT_CLASS_ID, "Free Spot"}},
};

const NamedClass s_controllerClasses[] = {
    {"prs", {PRS_CONTROL_CLASS_ID, CTRL_MATRIX3_CLASS_ID, "Position/Rotation/Scale"}},
    {"bipedSlave", {BIPSLAVE_CONTROL_CLASS_ID, CTRL_MATRIX3_CLASS_ID, "Biped Slave"}},
    {"bipedBody", {BIPBODY_CONTROL_CLASS_ID, CTRL_MATRIX3_CLASS_ID, "Biped Body"}},
};

const char* const s_mapSlotNames[STD_NUM_MAPS] = {
    "ambient", "diffuse", "specular", "glossiness", "specularLevel", "selfIllumination",
    "opacity", "filter",  "bump",     "reflection", "refraction",    "displacement"};

std::string Quoted(const std::string& s)
{
    return "'" + s + "'";
}

std::string Hex(uint32 v)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%X", v);
    return text;
}

// Days from 30 December 1899 to the given day of the Gregorian calendar.
double DaysSince1899(int y, int m, int d)
{
    auto days = [](int yy, int mm, int dd)
    {
        yy -= mm <= 2;
        const int era = (yy >= 0 ? yy : yy - 399) / 400;
        const int yoe = yy - era * 400;
        const int doy = (153 * (mm + (mm > 2 ? -3 : 9)) + 2) / 5 + dd - 1;
        const int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
        return era * 146097 + doe;
    };
    return double(days(y, m, d) - days(1899, 12, 30));
}

bool IsAbsolutePath(const std::string& p)
{
    if (p.empty())
        return false;
    if (p[0] == '/' || p[0] == '\\')
        return true;
    return p.size() >= 2 && p[1] == ':' && std::isalpha(static_cast<unsigned char>(p[0]));
}
} // namespace

class SceneReader
{
public:
    SceneReader(std::string displayName, std::string folder)
        : m_displayName(std::move(displayName)), m_folder(std::move(folder))
    {
    }

    std::unique_ptr<Scene> Read(const json& document);

private:
    [[noreturn]] void Fail(const std::string& path, const std::string& what) const
    {
        throw SceneError(m_displayName + ": " + (path.empty() ? std::string("/") : path) + ": " + what);
    }
    [[noreturn]] void Expected(const At& at, const std::string& expected) const
    {
        Fail(at.path, "expected " + expected + ", found " + TypeName(at.j));
    }

    void Keys(const At& at, std::initializer_list<const char*> allowed) const;
    At Required(const At& at, const char* key, const char* expected) const;
    void RequireObject(const At& at) const;
    void Array(const At& at) const;
    void Array(const At& at, size_t size, const char* what) const;

    bool Bool(const At& at) const;
    float Float(const At& at) const;
    int64 Integer(const At& at, int64 lowest, int64 highest) const;
    std::string String(const At& at) const;
    Point3 ReadPoint(const At& at, bool allowTwo = false) const;
    Matrix3 ReadMatrix(const At& at) const;
    Color ReadColor(const At& at) const;

    template <class T, class Reader> Animated<T> ReadAnimated(const At& at, Reader readOne) const;
    Animated<float> AnimatedFloat(const At& at) const
    {
        return ReadAnimated<float>(at, [this](const At& a) { return Float(a); });
    }
    Animated<Color> AnimatedColor(const At& at) const
    {
        return ReadAnimated<Color>(at, [this](const At& a) { return ReadColor(a); });
    }

    std::string FilePath(const std::string& name) const;
    ClassInfo ReadClass(const At& at, const NamedClass* pTable, size_t count, SClass_ID defaultSuper,
                        const char* what) const;

    // Finds an entry of a list by index, "id" or unique name.
    size_t Resolve(const At& at, const char* listName, const std::vector<std::string>& cId,
                   const std::vector<std::string>& cName) const;
    size_t ResolveNode(const At& at) const { return Resolve(at, "nodes", m_cNodeId, m_cNodeName); }
    size_t ResolveMaterial(const At& at) const
    {
        return Resolve(at, "materials", m_cMaterialId, m_cMaterialName);
    }
    size_t ResolveTexture(const At& at) const
    {
        return Resolve(at, "textures", m_cTextureId, m_cTextureName);
    }
    void CollectNames(const At& list, std::vector<std::string>& cId, std::vector<std::string>& cName) const;

    void ReadProperties(const At& at);
    void ReadTextures(const At& at);
    void ReadUVGen(const At& at, SceneUVGen& gen) const;
    void ReadMaterials(const At& at);
    void ReadStdMat(const At& at, SceneStdMat& mtl) const;
    void CheckMaterialCycles(const At& list) const;
    void ReadNodes(const At& at);
    void ReadNode(const At& at, size_t index);
    host::Object* ReadObject(const At& at, SceneNode& node);
    void ReadMesh(const At& at, Mesh& mesh) const;
    void ReadCamera(const At& at, SceneCamera& camera) const;
    Modifier* ReadModifier(const At& at, SceneNode& node);
    void FinishSkins();

    template <class T> T* Own(std::unique_ptr<T> p)
    {
        T* raw = p.get();
        m_pScene->m_cObject.push_back(std::move(p));
        return raw;
    }

    std::string m_displayName;
    std::string m_folder;
    std::unique_ptr<Scene> m_pScene;
    int m_frameCount = 1;
    std::vector<std::string> m_cNodeId, m_cNodeName;
    std::vector<std::string> m_cMaterialId, m_cMaterialName;
    std::vector<std::string> m_cTextureId, m_cTextureName;

    // Skins whose bone set-up transforms default to the bones' transforms at time 0, and whose
    // point counts are checked against the mesh of their node.
    struct PendingSkin
    {
        SceneSkin* pSkin;
        SceneNode* pNode;
        bool initGiven;
        std::string pointsPath;
    };
    std::vector<PendingSkin> m_cPendingSkin;
};

void SceneReader::Keys(const At& at, std::initializer_list<const char*> allowed) const
{
    RequireObject(at);
    for (auto it = at.j.begin(); it != at.j.end(); ++it)
    {
        bool known = false;
        for (const char* key : allowed)
            known = known || it.key() == key;
        if (!known)
        {
            std::string list;
            for (const char* key : allowed)
                list += std::string(list.empty() ? "" : ", ") + key;
            Fail(at.path + "/" + it.key(),
                 "unknown key " + Quoted(it.key()) + " (expected one of " + list + ")");
        }
    }
}

At SceneReader::Required(const At& at, const char* key, const char* expected) const
{
    RequireObject(at);
    if (!at.Has(key))
        Fail(at.path, std::string("missing key ") + Quoted(key) + " (" + expected + ")");
    return at.Member(key);
}

void SceneReader::RequireObject(const At& at) const
{
    if (!at.j.is_object())
        Expected(at, "an object");
}

void SceneReader::Array(const At& at) const
{
    if (!at.j.is_array())
        Expected(at, "an array");
}

void SceneReader::Array(const At& at, size_t size, const char* what) const
{
    if (!at.j.is_array())
        Expected(at, std::string("an array of ") + what);
    if (at.j.size() != size)
        Fail(at.path, std::string("expected ") + what + ", found " + std::to_string(at.j.size()) + " values");
}

bool SceneReader::Bool(const At& at) const
{
    if (!at.j.is_boolean())
        Expected(at, "true or false");
    return at.j.get<bool>();
}

float SceneReader::Float(const At& at) const
{
    if (!at.j.is_number())
        Expected(at, "a number");
    const double v = at.j.get<double>();
    if (!std::isfinite(v) || std::fabs(v) > double(std::numeric_limits<float>::max()))
        Fail(at.path, "number out of the range of a 32-bit float");
    return float(v);
}

int64 SceneReader::Integer(const At& at, int64 lowest, int64 highest) const
{
    if (!at.j.is_number_integer())
        Expected(at, "a whole number");
    int64 v = 0;
    if (at.j.is_number_unsigned())
    {
        // Compared as unsigned first: a value past the signed range must not wrap into it.
        const uint64 u = at.j.get<uint64>();
        if (u > uint64(highest))
            Fail(at.path, std::to_string(u) + " out of range (" + std::to_string(lowest) + " to " +
                              std::to_string(highest) + ")");
        v = int64(u);
    }
    else
        v = at.j.get<int64>();
    if (v < lowest || v > highest)
        Fail(at.path, std::to_string(v) + " out of range (" + std::to_string(lowest) + " to " +
                          std::to_string(highest) + ")");
    return v;
}

std::string SceneReader::String(const At& at) const
{
    if (!at.j.is_string())
        Expected(at, "a string");
    return at.j.get<std::string>();
}

Point3 SceneReader::ReadPoint(const At& at, bool allowTwo) const
{
    if (!at.j.is_array() || !(at.j.size() == 3 || (allowTwo && at.j.size() == 2)))
    {
        if (!at.j.is_array())
            Expected(at, allowTwo ? "an array of 2 or 3 numbers" : "an array of 3 numbers");
        Fail(at.path, std::string("expected ") + (allowTwo ? "2 or 3 numbers" : "3 numbers") + ", found " +
                          std::to_string(at.j.size()) + " values");
    }
    Point3 p;
    for (size_t i = 0; i < at.j.size(); ++i)
        p[int(i)] = Float(at.Element(i));
    return p;
}

Matrix3 SceneReader::ReadMatrix(const At& at) const
{
    Array(at, 4, "4 rows of 3 numbers");
    Matrix3 m;
    for (size_t i = 0; i < 4; ++i)
        m.SetRow(int(i), ReadPoint(at.Element(i)));
    return m;
}

Color SceneReader::ReadColor(const At& at) const
{
    const Point3 p = ReadPoint(at);
    return {p.x, p.y, p.z};
}

template <class T, class Reader> Animated<T> SceneReader::ReadAnimated(const At& at, Reader readOne) const
{
    if (!at.j.is_object())
        return Animated<T>(readOne(at));
    Keys(at, {"frames"});
    const At frames = Required(at, "frames", "one value per frame");
    if (!frames.j.is_array())
        Expected(frames, "an array of one value per frame");
    if (frames.j.size() != size_t(m_frameCount))
        Fail(frames.path, std::to_string(m_frameCount) + " values expected (frames " +
                              std::to_string(m_pScene->m_firstFrame) + " to " +
                              std::to_string(m_pScene->m_lastFrame) + "), found " +
                              std::to_string(frames.j.size()));
    std::vector<T> cValue;
    cValue.reserve(frames.j.size());
    for (size_t i = 0; i < frames.j.size(); ++i)
        cValue.push_back(readOne(frames.Element(i)));
    Animated<T> value;
    value.SetFrames(std::move(cValue), m_pScene->m_firstFrame, TIME_TICKSPERSEC / m_pScene->m_frameRate);
    return value;
}

std::string SceneReader::FilePath(const std::string& name) const
{
    if (m_folder.empty() || name.empty() || IsAbsolutePath(name))
        return name;
    return m_folder + "/" + name;
}

ClassInfo SceneReader::ReadClass(const At& at, const NamedClass* pTable, size_t count, SClass_ID defaultSuper,
                                 const char* what) const
{
    const At cls = Required(at, "class", what);
    if (cls.j.is_string())
    {
        const std::string name = cls.j.get<std::string>();
        for (size_t i = 0; i < count; ++i)
            if (name == pTable[i].name)
                return pTable[i].info;
        std::string list;
        for (size_t i = 0; i < count; ++i)
            list += std::string(list.empty() ? "" : ", ") + pTable[i].name;
        Fail(cls.path,
             "unknown class " + Quoted(name) + " (expected one of " + list + ", or [partA, partB])");
    }
    if (!cls.j.is_array() || cls.j.size() != 2)
        Expected(cls, "a class name or [partA, partB]");
    ClassInfo info;
    info.classId = Class_ID(uint32(Integer(cls.Element(0), 0, 0xFFFFFFFF)),
                            uint32(Integer(cls.Element(1), 0, 0xFFFFFFFF)));
    info.superClassId =
        at.Has("superClass") ? uint32(Integer(at.Member("superClass"), 0, 0xFFFFFFFF)) : defaultSuper;
    info.className = at.Has("className")
                         ? String(at.Member("className"))
                         : "Class_ID(" + Hex(info.classId.PartA()) + "," + Hex(info.classId.PartB()) + ")";
    for (size_t i = 0; i < count; ++i)
        if (pTable[i].info.classId == info.classId && !at.Has("superClass"))
            info.superClassId = pTable[i].info.superClassId;
    if (info.superClassId == 0)
        Fail(at.path, "missing key 'superClass' (the family of class " + info.className + ")");
    return info;
}

void SceneReader::CollectNames(const At& list, std::vector<std::string>& cId,
                               std::vector<std::string>& cName) const
{
    std::set<std::string> seen;
    for (size_t i = 0; i < list.j.size(); ++i)
    {
        const At entry = list.Element(i);
        RequireObject(entry);
        cName.push_back(entry.Has("name") ? String(entry.Member("name")) : std::string());
        std::string id;
        if (entry.Has("id"))
        {
            id = String(entry.Member("id"));
            if (!seen.insert(id).second)
                Fail(entry.path + "/id", "id " + Quoted(id) + " is given twice");
        }
        cId.push_back(id);
    }
}

size_t SceneReader::Resolve(const At& at, const char* listName, const std::vector<std::string>& cId,
                            const std::vector<std::string>& cName) const
{
    if (at.j.is_number_integer())
    {
        if (cName.empty())
            Fail(at.path, std::string("index ") + at.j.dump() + " out of range (" + listName + " is empty)");
        return size_t(Integer(at, 0, int64(cName.size()) - 1));
    }
    if (!at.j.is_string())
        Expected(at, std::string("an index into ") + listName + ", an id or a name");
    const std::string key = at.j.get<std::string>();
    for (size_t i = 0; i < cId.size(); ++i)
        if (cId[i] == key)
            return i;
    std::vector<size_t> cFound;
    for (size_t i = 0; i < cName.size(); ++i)
        if (cName[i] == key)
            cFound.push_back(i);
    if (cFound.empty())
        Fail(at.path, std::string("no entry of ") + listName + " has the id or name " + Quoted(key));
    if (cFound.size() > 1)
        Fail(at.path, "the name " + Quoted(key) + " is not unique in " + listName + " (entries " +
                          std::to_string(cFound[0]) + " and " + std::to_string(cFound[1]) +
                          "); refer to the entry by index or give it an \"id\"");
    return cFound[0];
}

std::unique_ptr<Scene> SceneReader::Read(const json& document)
{
    m_pScene = std::make_unique<Scene>();
    const At root{document, ""};
    Keys(root, {"format", "version", "frameRate", "animationRange", "fileProperties", "textures", "materials",
                "nodes"});
    if (root.Has("format") && String(root.Member("format")) != "tq7z-scene")
        Fail("/format", "expected \"tq7z-scene\"");
    if (root.Has("version") && Integer(root.Member("version"), 0, 0x7FFFFFFF) != 1)
        Fail("/version", "version " + root.Member("version").j.dump() + " is not known (expected 1)");

    if (root.Has("frameRate"))
        m_pScene->m_frameRate = int(Integer(root.Member("frameRate"), 1, TIME_TICKSPERSEC));
    if (root.Has("animationRange"))
    {
        const At range = root.Member("animationRange");
        Array(range, 2, "[first frame, last frame]");
        const int64 limit = std::numeric_limits<TimeValue>::max() / TIME_TICKSPERSEC;
        m_pScene->m_firstFrame = int(Integer(range.Element(0), -limit, limit));
        m_pScene->m_lastFrame = int(Integer(range.Element(1), -limit, limit));
        if (m_pScene->m_lastFrame < m_pScene->m_firstFrame)
            Fail(range.path, "the last frame comes before the first");
    }
    m_frameCount = m_pScene->m_lastFrame - m_pScene->m_firstFrame + 1;

    if (root.Has("fileProperties"))
        ReadProperties(root.Member("fileProperties"));
    if (root.Has("textures"))
        ReadTextures(root.Member("textures"));
    if (root.Has("materials"))
        ReadMaterials(root.Member("materials"));
    ReadNodes(Required(root, "nodes", "the array of the scene's nodes"));
    FinishSkins();
    return std::move(m_pScene);
}

void SceneReader::ReadProperties(const At& list)
{
    Array(list);
    for (size_t i = 0; i < list.j.size(); ++i)
    {
        const At entry = list.Element(i);
        Keys(entry, {"name", "id", "type", "value"});
        PROPSPEC propSpec;
        if (entry.Has("name") == entry.Has("id"))
            Fail(entry.path, "a property has either a \"name\" or an \"id\"");
        if (entry.Has("name"))
        {
            const std::string name = String(entry.Member("name"));
            std::vector<wchar16> wide(name.size() + 1);
            AnsiToWide(name.c_str(), wide.data(), uint32(wide.size()));
            propSpec.ulKind = PRSPEC_LPWSTR;
            propSpec.lpwstr = wide.data();
        }
        else
        {
            propSpec.ulKind = PRSPEC_PROPID;
            propSpec.propid = uint32(Integer(entry.Member("id"), 0, 0xFFFFFFFF));
        }
        const At value = Required(entry, "value", "the property's value");
        std::string type;
        if (entry.Has("type"))
            type = String(entry.Member("type"));
        else if (value.j.is_boolean())
            type = "bool";
        else if (value.j.is_number_integer())
            type = "int";
        else if (value.j.is_number())
            type = "double";
        else if (value.j.is_string())
            type = "string";
        else
            Expected(value, "a boolean, a number or a string");

        PROPVARIANT var;
        if (type == "bool")
        {
            var.vt = VT_BOOL;
            var.boolVal = Bool(value);
        }
        else if (type == "int")
        {
            var.vt = VT_I4;
            var.lVal =
                int32(Integer(value, std::numeric_limits<int32>::min(), std::numeric_limits<int32>::max()));
        }
        else if (type == "float")
        {
            var.vt = VT_R4;
            var.fltVal = Float(value);
        }
        else if (type == "double")
        {
            var.vt = VT_R8;
            if (!value.j.is_number())
                Expected(value, "a number");
            var.dblVal = value.j.get<double>();
        }
        else if (type == "string" || type == "wstring")
        {
            const std::string text = String(value);
            if (type == "string")
            {
                var.vt = VT_LPSTR;
                var.pszVal = text;
            }
            else
            {
                std::vector<wchar16> wide(text.size() + 1);
                AnsiToWide(text.c_str(), wide.data(), uint32(wide.size()));
                var.vt = VT_LPWSTR;
                var.pwszVal = wide.data();
            }
        }
        else if (type == "date")
        {
            const std::string text = String(value);
            int y = 0, m = 0, d = 0;
            char tail = 0;
            if (std::sscanf(text.c_str(), "%4d-%2d-%2d%c", &y, &m, &d, &tail) != 3 || m < 1 || m > 12 ||
                d < 1 || d > 31)
                Fail(value.path, "expected a date as \"YYYY-MM-DD\", found " + Quoted(text));
            var.vt = VT_DATE;
            var.date = DaysSince1899(y, m, d);
        }
        else
            Fail(entry.path + "/type", "unknown type " + Quoted(type) +
                                           " (expected bool, int, float, double, string, wstring or date)");
        m_pScene->m_cProperty.emplace_back(std::move(propSpec), std::move(var));
    }
}

void SceneReader::ReadTextures(const At& list)
{
    Array(list);
    CollectNames(list, m_cTextureId, m_cTextureName);
    for (size_t i = 0; i < list.j.size(); ++i)
    {
        const At entry = list.Element(i);
        const At cls = Required(entry, "class", "\"bitmap\" or [partA, partB]");
        if (cls.j.is_string() && cls.j.get<std::string>() == "bitmap")
        {
            Keys(entry, {"name", "id", "class", "file", "filter", "uvGen"});
            auto pTex = std::make_unique<SceneBitmapTex>();
            pTex->m_name = m_cTextureName[i];
            pTex->m_fileName = FilePath(String(Required(entry, "file", "the bitmap's file name")));
            if (entry.Has("filter"))
            {
                const At filter = entry.Member("filter");
                const std::string name = String(filter);
                if (name == "pyramidal")
                    pTex->m_filter = FILTER_PYR;
                else if (name == "summedArea")
                    pTex->m_filter = FILTER_SAT;
                else if (name == "none")
                    pTex->m_filter = FILTER_NADA;
                else
                    Fail(filter.path,
                         "unknown filter " + Quoted(name) + " (expected pyramidal, summedArea or none)");
            }
            if (!entry.Has("uvGen") || !entry.Member("uvGen").j.is_null())
            {
                pTex->m_pUVGen = std::make_unique<SceneUVGen>();
                if (entry.Has("uvGen"))
                    ReadUVGen(entry.Member("uvGen"), *pTex->m_pUVGen);
            }
            m_pScene->m_cTexture.push_back(std::move(pTex));
        }
        else
        {
            Keys(entry, {"name", "id", "class", "superClass", "className"});
            auto pTex = std::make_unique<SceneTexmap>(
                ReadClass(entry, nullptr, 0, TEXMAP_CLASS_ID, "the map's class"));
            pTex->m_name = m_cTextureName[i];
            m_pScene->m_cTexture.push_back(std::move(pTex));
        }
    }
}

void SceneReader::ReadUVGen(const At& at, SceneUVGen& gen) const
{
    Keys(at, {"mapping", "mapChannel", "uMode", "vMode", "tiling", "uOffset", "vOffset", "uTiling", "vTiling",
              "angle"});
    if (at.Has("mapping"))
    {
        static const char* const names[] = {"explicit", "sphericalEnvironment", "cylindricalEnvironment",
                                            "shrinkWrapEnvironment", "screen"};
        const At mapping = at.Member("mapping");
        const std::string name = String(mapping);
        int found = -1;
        for (int i = 0; i < 5; ++i)
            if (name == names[i])
                found = i;
        if (found < 0)
            Fail(mapping.path, "unknown mapping " + Quoted(name) +
                                   " (expected explicit, sphericalEnvironment, cylindricalEnvironment, "
                                   "shrinkWrapEnvironment or screen)");
        gen.m_coordMapping = found;
    }
    if (at.Has("mapChannel"))
        gen.m_mapChannel = int(Integer(at.Member("mapChannel"), 0, 99));
    if (at.Has("tiling"))
    {
        if (at.Has("uMode") || at.Has("vMode"))
            Fail(at.path, "give either \"tiling\" or \"uMode\" and \"vMode\"");
        gen.m_tiling = int(Integer(at.Member("tiling"), 0, 15));
    }
    else
    {
        auto mode = [this, &at](const char* key, int wrap, int mirror)
        {
            if (!at.Has(key))
                return wrap;
            const At m = at.Member(key);
            const std::string name = String(m);
            if (name == "wrap")
                return wrap;
            if (name == "mirror")
                return mirror;
            if (name == "none")
                return 0;
            Fail(m.path, "unknown tile mode " + Quoted(name) + " (expected wrap, mirror or none)");
        };
        gen.m_tiling = mode("uMode", U_WRAP, U_MIRROR) | mode("vMode", V_WRAP, V_MIRROR);
    }
    if (at.Has("uOffset"))
        gen.m_uOffset = AnimatedFloat(at.Member("uOffset"));
    if (at.Has("vOffset"))
        gen.m_vOffset = AnimatedFloat(at.Member("vOffset"));
    if (at.Has("uTiling"))
        gen.m_uTiling = AnimatedFloat(at.Member("uTiling"));
    if (at.Has("vTiling"))
        gen.m_vTiling = AnimatedFloat(at.Member("vTiling"));
    if (at.Has("angle"))
        gen.m_angle = AnimatedFloat(at.Member("angle"));
}

void SceneReader::ReadMaterials(const At& list)
{
    Array(list);
    CollectNames(list, m_cMaterialId, m_cMaterialName);
    // Every material exists before any link to one is made.
    for (size_t i = 0; i < list.j.size(); ++i)
    {
        const At entry = list.Element(i);
        const At cls = Required(entry, "class", "\"standard\", \"multi\" or [partA, partB]");
        if (cls.j.is_string() && cls.j.get<std::string>() == "standard")
        {
            auto pMtl = std::make_unique<SceneStdMat>();
            pMtl->m_name = m_cMaterialName[i];
            m_pScene->m_cMaterial.push_back(std::move(pMtl));
        }
        else
        {
            ClassInfo info;
            if (cls.j.is_string() && cls.j.get<std::string>() == "multi")
                info = {MULTI_CLASS_ID, MATERIAL_CLASS_ID, "Multi/Sub-Object"};
            else
                info = ReadClass(entry, nullptr, 0, MATERIAL_CLASS_ID, "the material's class");
            auto pMtl = std::make_unique<SceneMtl>(std::move(info));
            pMtl->m_name = m_cMaterialName[i];
            m_pScene->m_cMaterial.push_back(std::move(pMtl));
        }
    }
    for (size_t i = 0; i < list.j.size(); ++i)
    {
        const At entry = list.Element(i);
        if (auto* pStd = dynamic_cast<SceneStdMat*>(m_pScene->m_cMaterial[i].get()))
        {
            ReadStdMat(entry, *pStd);
            continue;
        }
        auto& mtl = static_cast<SceneMtl&>(*m_pScene->m_cMaterial[i]);
        Keys(entry, {"name", "id", "class", "superClass", "className", "subMaterials"});
        if (entry.Has("subMaterials"))
        {
            const At subs = entry.Member("subMaterials");
            Array(subs);
            for (size_t k = 0; k < subs.j.size(); ++k)
            {
                const At sub = subs.Element(k);
                mtl.m_cSub.push_back(sub.j.is_null() ? nullptr
                                                     : m_pScene->m_cMaterial[ResolveMaterial(sub)].get());
            }
        }
    }
    CheckMaterialCycles(list);
}

void SceneReader::CheckMaterialCycles(const At& list) const
{
    // 0 not seen, 1 on the current path, 2 done.
    std::vector<int> cState(m_pScene->m_cMaterial.size(), 0);
    std::function<void(size_t)> visit = [&](size_t i)
    {
        cState[i] = 1;
        if (auto* pMulti = dynamic_cast<SceneMtl*>(m_pScene->m_cMaterial[i].get()))
        {
            for (size_t k = 0; k < pMulti->m_cSub.size(); ++k)
            {
                if (pMulti->m_cSub[k] == nullptr)
                    continue;
                size_t j = 0;
                while (m_pScene->m_cMaterial[j].get() != pMulti->m_cSub[k])
                    ++j;
                if (cState[j] == 1)
                    Fail(list.path + "/" + std::to_string(i) + "/subMaterials/" + std::to_string(k),
                         "material " + Quoted(m_cMaterialName[j]) + " contains itself");
                if (cState[j] == 0)
                    visit(j);
            }
        }
        cState[i] = 2;
    };
    for (size_t i = 0; i < cState.size(); ++i)
        if (cState[i] == 0)
            visit(i);
}

void SceneReader::ReadStdMat(const At& at, SceneStdMat& mtl) const
{
    Keys(at, {"name", "id", "class", "shading", "twoSided", "faceMap", "transparencyType", "selfIllumColorOn",
              "diffuse", "specular", "glossiness", "specularLevel", "selfIllum", "selfIllumColor", "opacity",
              "maps"});
    if (at.Has("shading"))
        mtl.m_shading = int(Integer(at.Member("shading"), 0, 255));
    if (at.Has("twoSided"))
        mtl.m_twoSided = Bool(at.Member("twoSided"));
    if (at.Has("faceMap"))
        mtl.m_faceMap = Bool(at.Member("faceMap"));
    if (at.Has("transparencyType"))
    {
        const At type = at.Member("transparencyType");
        const std::string name = String(type);
        if (name == "subtractive")
            mtl.m_transparencyType = TRANSP_SUBTRACTIVE;
        else if (name == "additive")
            mtl.m_transparencyType = TRANSP_ADDITIVE;
        else if (name == "filter")
            mtl.m_transparencyType = TRANSP_FILTER;
        else
            Fail(type.path,
                 "unknown transparency type " + Quoted(name) + " (expected subtractive, additive or filter)");
    }
    if (at.Has("selfIllumColorOn"))
        mtl.m_selfIllumColorOn = Bool(at.Member("selfIllumColorOn"));
    if (at.Has("diffuse"))
        mtl.m_diffuse = AnimatedColor(at.Member("diffuse"));
    if (at.Has("specular"))
        mtl.m_specular = AnimatedColor(at.Member("specular"));
    if (at.Has("glossiness"))
        mtl.m_glossiness = AnimatedFloat(at.Member("glossiness"));
    if (at.Has("specularLevel"))
        mtl.m_specularLevel = AnimatedFloat(at.Member("specularLevel"));
    if (at.Has("selfIllum"))
        mtl.m_selfIllum = AnimatedFloat(at.Member("selfIllum"));
    if (at.Has("selfIllumColor"))
        mtl.m_selfIllumColor = AnimatedColor(at.Member("selfIllumColor"));
    if (at.Has("opacity"))
        mtl.m_opacity = AnimatedFloat(at.Member("opacity"));
    if (!at.Has("maps"))
        return;
    const At maps = at.Member("maps");
    RequireObject(maps);
    for (auto it = maps.j.begin(); it != maps.j.end(); ++it)
    {
        const At slot{it.value(), maps.path + "/" + it.key()};
        int id = -1;
        for (int k = 0; k < STD_NUM_MAPS; ++k)
            if (it.key() == s_mapSlotNames[k])
                id = k;
        if (id < 0)
            Fail(slot.path,
                 "unknown map slot " + Quoted(it.key()) +
                     " (expected ambient, diffuse, specular, glossiness, specularLevel, selfIllumination, "
                     "opacity, filter, bump, reflection, refraction or displacement)");
        Keys(slot, {"enabled", "amount", "slotType", "texmap"});
        SceneMapSlot& map = mtl.m_cMap[id];
        map.enabled = slot.Has("enabled") ? Bool(slot.Member("enabled")) : true;
        if (slot.Has("amount"))
            map.amount = AnimatedFloat(slot.Member("amount"));
        if (slot.Has("slotType"))
        {
            const At type = slot.Member("slotType");
            const std::string name = String(type);
            if (name == "texture")
                map.slotType = MAPSLOT_TEXTURE;
            else if (name == "environment")
                map.slotType = MAPSLOT_ENVIRONMENT;
            else
                Fail(type.path, "unknown slot type " + Quoted(name) + " (expected texture or environment)");
        }
        if (slot.Given("texmap"))
            map.pTexmap = m_pScene->m_cTexture[ResolveTexture(slot.Member("texmap"))].get();
    }
}

void SceneReader::ReadNodes(const At& list)
{
    Array(list);
    CollectNames(list, m_cNodeId, m_cNodeName);
    for (size_t i = 0; i < list.j.size(); ++i)
    {
        auto pNode = std::make_unique<SceneNode>();
        pNode->m_name = m_cNodeName[i];
        m_pScene->m_cNode.push_back(std::move(pNode));
    }
    for (size_t i = 0; i < list.j.size(); ++i)
        ReadNode(list.Element(i), i);
}

void SceneReader::ReadNode(const At& at, size_t index)
{
    Keys(at,
         {"name", "id", "parent", "bone", "renderable", "userProperties", "wireColor", "transform",
          "objectOffset", "visibility", "object", "modifiers", "xref", "controller", "material", "target"});
    SceneNode& node = *m_pScene->m_cNode[index];
    if (!at.Has("name"))
        Fail(at.path, "missing key 'name' (the node's name)");

    SceneNode* pParent = m_pScene->m_pRoot.get();
    if (at.Given("parent"))
    {
        const At parent = at.Member("parent");
        const size_t p = ResolveNode(parent);
        if (p >= index)
            Fail(parent.path, "the parent " + Quoted(m_cNodeName[p]) +
                                  " comes after its child; list parents before their children");
        pParent = m_pScene->m_cNode[p].get();
    }
    node.m_pParent = pParent;
    pParent->m_cChild.push_back(&node);

    if (at.Has("bone"))
        node.m_bone = Bool(at.Member("bone"));
    if (at.Has("renderable"))
        node.m_renderable = Bool(at.Member("renderable"));
    if (at.Has("userProperties"))
        node.m_userProperties = String(at.Member("userProperties"));
    if (at.Has("wireColor"))
    {
        const At colour = at.Member("wireColor");
        Array(colour, 3, "3 whole numbers 0 to 255");
        node.m_wireColor =
            RGB(uint8(Integer(colour.Element(0), 0, 255)), uint8(Integer(colour.Element(1), 0, 255)),
                uint8(Integer(colour.Element(2), 0, 255)));
    }
    if (at.Has("transform"))
        node.m_transform =
            ReadAnimated<Matrix3>(at.Member("transform"), [this](const At& a) { return ReadMatrix(a); });
    if (at.Has("objectOffset"))
        node.m_objectOffset = ReadMatrix(at.Member("objectOffset"));
    if (at.Has("visibility"))
        node.m_visibility = AnimatedFloat(at.Member("visibility"));
    if (at.Given("material"))
        node.m_pMtl = m_pScene->m_cMaterial[ResolveMaterial(at.Member("material"))].get();
    if (at.Given("target"))
    {
        const At target = at.Member("target");
        const size_t t = ResolveNode(target);
        if (t == index)
            Fail(target.path, "a node cannot target itself");
        node.m_pTarget = m_pScene->m_cNode[t].get();
    }

    ClassInfo control = s_controllerClasses[0].info;
    if (at.Has("controller"))
    {
        const At ctrl = at.Member("controller");
        if (ctrl.j.is_string())
        {
            const json wrapped = {{"class", ctrl.j}};
            control =
                ReadClass({wrapped, ctrl.path.substr(0, ctrl.path.rfind('/'))}, s_controllerClasses,
                          std::size(s_controllerClasses), CTRL_MATRIX3_CLASS_ID, "the controller's class");
        }
        else
        {
            Keys(ctrl, {"class", "superClass", "className"});
            control = ReadClass(ctrl, s_controllerClasses, std::size(s_controllerClasses),
                                CTRL_MATRIX3_CLASS_ID, "the controller's class");
        }
    }
    node.m_pController = Own(std::make_unique<SceneControl>(control));

    if (at.Given("object"))
        node.m_pObject = ReadObject(at.Member("object"), node);
    host::Object* pBase = node.m_pObject;
    if (at.Given("xref"))
    {
        const At xref = at.Member("xref");
        Keys(xref, {"file"});
        pBase = Own(std::make_unique<SceneXRef>(
            FilePath(String(Required(xref, "file", "the referenced scene file")))));
    }
    node.m_pObjectRef = pBase;

    if (at.Given("modifiers"))
    {
        // One list of modifiers is one derived object; a list of lists is a chain of them, top first.
        const At mods = at.Member("modifiers");
        Array(mods);
        std::vector<At> cStack;
        const bool chain = !mods.j.empty() && mods.j.at(0).is_array();
        if (chain)
            for (size_t k = 0; k < mods.j.size(); ++k)
                cStack.push_back(mods.Element(k));
        else
            cStack.push_back(mods);
        std::vector<SceneDerivedObject*> cDerived;
        for (const At& stack : cStack)
        {
            Array(stack);
            auto* pDerived = Own(std::make_unique<SceneDerivedObject>());
            for (size_t k = 0; k < stack.j.size(); ++k)
                pDerived->m_cModifier.push_back(ReadModifier(stack.Element(k), node));
            cDerived.push_back(pDerived);
        }
        for (size_t k = 0; k + 1 < cDerived.size(); ++k)
            cDerived[k]->m_pObjRef = cDerived[k + 1];
        cDerived.back()->m_pObjRef = pBase;
        node.m_pObjectRef = cDerived.front();
    }
}

host::Object* SceneReader::ReadObject(const At& at, SceneNode& node)
{
    RequireObject(at);
    const ClassInfo info = ReadClass(at, s_objectClasses, std::size(s_objectClasses), 0,
                                     "the object's class: a name or [partA, partB]");
    if (info.superClassId == GEOMOBJECT_CLASS_ID)
    {
        Keys(at, {"class", "superClass", "className", "mesh"});
        auto pGeom = std::make_unique<SceneGeomObject>(info);
        if (at.Given("mesh"))
        {
            pGeom->m_mesh.emplace();
            ReadMesh(at.Member("mesh"), *pGeom->m_mesh);
        }
        return Own(std::move(pGeom));
    }
    if (info.superClassId == CAMERA_CLASS_ID)
    {
        Keys(at, {"class", "superClass", "className", "fov", "targetDistance", "manualClip", "nearClip",
                  "farClip"});
        auto pCamera = std::make_unique<SceneCamera>(info);
        ReadCamera(at, *pCamera);
        return Own(std::move(pCamera));
    }
    Keys(at, {"class", "superClass", "className"});
    return Own(std::make_unique<SceneObject>(info));
}

void SceneReader::ReadMesh(const At& at, Mesh& mesh) const
{
    Keys(at, {"vertices", "faces", "tverts", "tvFaces"});
    const At verts = Required(at, "vertices", "an array of [x, y, z]");
    Array(verts);
    mesh.setNumVerts(int(verts.j.size()));
    for (size_t i = 0; i < verts.j.size(); ++i)
        mesh.verts[i] = ReadPoint(verts.Element(i));

    const At faces = Required(at, "faces", "an array of faces");
    Array(faces);
    mesh.setNumFaces(int(faces.j.size()));
    auto vertexIndices = [this](const At& v, uint32* out, size_t count, const char* what, const char* whats)
    {
        Array(v, 3, "3 indices");
        for (size_t k = 0; k < 3; ++k)
        {
            const At index = v.Element(k);
            const int64 n = Integer(index, 0, 0xFFFFFFFF);
            if (uint64(n) >= count)
                Fail(index.path, std::string(what) + " index " + std::to_string(n) +
                                     " out of range (mesh has " + std::to_string(count) + " " +
                                     (count == 1 ? what : whats) + ")");
            out[k] = uint32(n);
        }
    };
    for (size_t f = 0; f < faces.j.size(); ++f)
    {
        const At face = faces.Element(f);
        Face& out = mesh.faces[f];
        out.smGroup = 1;
        out.setEdgeVisFlags(EDGE_ALL);
        if (face.j.is_array())
        {
            vertexIndices(face, out.v, verts.j.size(), "vertex", "vertices");
            continue;
        }
        if (!face.j.is_object())
            Expected(face, "[a, b, c] or a face object");
        Keys(face, {"v", "smoothing", "materialId", "edges"});
        vertexIndices(Required(face, "v", "the face's 3 vertex indices"), out.v, verts.j.size(), "vertex",
                      "vertices");
        if (face.Has("smoothing"))
            out.smGroup = uint32(Integer(face.Member("smoothing"), 0, 0xFFFFFFFF));
        if (face.Has("materialId"))
            out.setMatID(uint16(Integer(face.Member("materialId"), 0, 0xFFFF)));
        if (face.Has("edges"))
        {
            const At edges = face.Member("edges");
            Array(edges, 3, "3 edge flags (a, b, c)");
            out.setEdgeVisFlags((Bool(edges.Element(0)) ? EDGE_A : 0) |
                                (Bool(edges.Element(1)) ? EDGE_B : 0) |
                                (Bool(edges.Element(2)) ? EDGE_C : 0));
        }
    }

    if (!at.Has("tverts"))
    {
        if (at.Has("tvFaces"))
            Fail(at.path + "/tvFaces", "texture faces without \"tverts\"");
        return;
    }
    const At tverts = at.Member("tverts");
    Array(tverts);
    mesh.setNumTVerts(int(tverts.j.size()));
    for (size_t i = 0; i < tverts.j.size(); ++i)
        mesh.tVerts[i] = ReadPoint(tverts.Element(i), true);
    if (tverts.j.empty())
        return;
    const At tvFaces = Required(at, "tvFaces", "one texture face per face");
    Array(tvFaces);
    if (tvFaces.j.size() != faces.j.size())
        Fail(tvFaces.path, std::to_string(tvFaces.j.size()) + " texture faces for " +
                               std::to_string(faces.j.size()) + " faces (expected one per face)");
    for (size_t f = 0; f < tvFaces.j.size(); ++f)
        vertexIndices(tvFaces.Element(f), mesh.tvFace[f].t, tverts.j.size(), "texture vertex",
                      "texture vertices");
}

void SceneReader::ReadCamera(const At& at, SceneCamera& camera) const
{
    if (at.Has("fov"))
        camera.m_fov = AnimatedFloat(at.Member("fov"));
    if (at.Has("targetDistance"))
        camera.m_targetDistance = AnimatedFloat(at.Member("targetDistance"));
    if (at.Has("manualClip"))
        camera.m_manualClip = Bool(at.Member("manualClip"));
    if (at.Has("nearClip"))
        camera.m_nearClip = AnimatedFloat(at.Member("nearClip"));
    if (at.Has("farClip"))
        camera.m_farClip = AnimatedFloat(at.Member("farClip"));
}

Modifier* SceneReader::ReadModifier(const At& at, SceneNode& node)
{
    RequireObject(at);
    const At cls = Required(at, "class", "\"skin\" or [partA, partB]");
    if (!(cls.j.is_string() && cls.j.get<std::string>() == "skin"))
    {
        Keys(at, {"class", "superClass", "className"});
        return Own(
            std::make_unique<SceneModifier>(ReadClass(at, nullptr, 0, OSM_CLASS_ID, "the modifier's class")));
    }
    Keys(at, {"class", "installed", "bones", "initTMs", "points"});
    auto pSkin = std::make_unique<SceneSkin>();
    pSkin->m_pOwner = &node;
    if (at.Has("installed"))
        pSkin->m_installed = Bool(at.Member("installed"));
    if (at.Has("bones"))
    {
        const At bones = at.Member("bones");
        Array(bones);
        for (size_t i = 0; i < bones.j.size(); ++i)
            pSkin->m_cBone.push_back(m_pScene->m_cNode[ResolveNode(bones.Element(i))].get());
    }
    const bool initGiven = at.Has("initTMs");
    if (initGiven)
    {
        const At inits = at.Member("initTMs");
        if (!inits.j.is_array() || inits.j.size() != pSkin->m_cBone.size())
            Array(inits, pSkin->m_cBone.size(), "one matrix per bone");
        for (size_t i = 0; i < inits.j.size(); ++i)
            pSkin->m_cBoneInitTM.push_back(ReadMatrix(inits.Element(i)));
    }
    std::string pointsPath;
    if (at.Given("points"))
    {
        const At points = at.Member("points");
        pointsPath = points.path;
        Array(points);
        pSkin->m_pContext = std::make_unique<SceneSkinContext>();
        for (size_t v = 0; v < points.j.size(); ++v)
        {
            const At point = points.Element(v);
            if (!point.j.is_array())
                Expected(point, "an array of [bone, weight] pairs");
            std::vector<SkinAssignment> cAssign;
            for (size_t k = 0; k < point.j.size(); ++k)
            {
                const At pair = point.Element(k);
                Array(pair, 2, "[bone, weight]");
                SkinAssignment a;
                a.bone = int(Integer(pair.Element(0), std::numeric_limits<int32>::min(),
                                     int64(pSkin->m_cBone.size()) - 1));
                a.weight = Float(pair.Element(1));
                cAssign.push_back(a);
            }
            pSkin->m_pContext->m_cPoint.push_back(std::move(cAssign));
        }
    }
    auto* pRaw = Own(std::move(pSkin));
    m_cPendingSkin.push_back({pRaw, &node, initGiven, pointsPath});
    return pRaw;
}

void SceneReader::FinishSkins()
{
    for (const PendingSkin& pending : m_cPendingSkin)
    {
        if (!pending.initGiven)
            for (INode* pBone : pending.pSkin->m_cBone)
                pending.pSkin->m_cBoneInitTM.push_back(pBone->GetNodeTM(0));
        auto* pGeom = dynamic_cast<SceneGeomObject*>(pending.pNode->m_pObject);
        if (pending.pSkin->m_pContext && pGeom && pGeom->m_mesh)
        {
            const int points = pending.pSkin->m_pContext->GetNumPoints();
            if (points != pGeom->m_mesh->numVerts)
                Fail(pending.pointsPath, std::to_string(points) + " points for a mesh of " +
                                             std::to_string(pGeom->m_mesh->numVerts) +
                                             " vertices (expected one per vertex)");
        }
    }
}

std::unique_ptr<Scene> ReadSceneText(const std::string& text, const std::string& displayName,
                                     const std::string& folder)
{
    json document;
    try
    {
        document = json::parse(text);
    }
    catch (const json::exception& e)
    {
        // A syntax fault, or a number beyond a double ("1e999"). The library's text begins with its
        // own error number in brackets; the rest says where.
        std::string what = e.what();
        const size_t close = what.find("] ");
        if (close != std::string::npos)
            what = what.substr(close + 2);
        throw SceneError(displayName + ": not a JSON text: " + what);
    }
    return ReadSceneDocument(document, displayName, folder);
}

std::unique_ptr<Scene> ReadSceneDocument(const json& document, const std::string& displayName,
                                         const std::string& folder)
{
    std::unique_ptr<Scene> pScene = SceneReader(displayName, folder).Read(document);
    SetFrameRate(pScene->GetFrameRate());
    return pScene;
}

std::unique_ptr<Scene> ReadScene(const std::string& fileName)
{
    const OSFile::Handle h = OSFile::Open(fileName.c_str(), OSFile::OM_Read, true);
    if (h == 0)
        throw SceneError(fileName + ": cannot open the file");
    std::string text(OSFile::Length(h), '\0');
    const uint32 read = text.empty() ? 0 : OSFile::Read(h, text.data(), uint32(text.size()));
    OSFile::Close(h);
    if (read != text.size())
        throw SceneError(fileName + ": cannot read the file");
    const size_t slash = fileName.find_last_of("/\\");
    const std::string folder = slash == std::string::npos ? std::string(".") : fileName.substr(0, slash);
    return ReadSceneText(text, fileName, folder);
}
} // namespace scene
