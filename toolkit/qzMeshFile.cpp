#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <toolkit/qzError.h>
#include <toolkit/qzFile.h>
#include <toolkit/qzMeshFile.h>
#include <toolkit/qzMeshFileCheck.h>
#include <toolkit/qzNumber.h>

#include <algorithm>
#include <assimp/DefaultLogger.hpp>
#include <assimp/Importer.hpp>
#include <assimp/Logger.hpp>
#include <cctype>
#include <climits>
#include <cmath>
#include <mutex>
#include <vector>

namespace qzToolkit {

namespace {

/// What assimp says while it reads, for as long as this lives: it mends some broken files and only mentions it here.
class tAssimpRecords {
 public:
  tAssimpRecords() { Assimp::DefaultLogger::set(new tLogger(*this)); }
  ~tAssimpRecords() { Assimp::DefaultLogger::set(nullptr); }  // deletes the logger
  tAssimpRecords(const tAssimpRecords&) = delete;
  tAssimpRecords& operator=(const tAssimpRecords&) = delete;

  /// The first record that tells of missing or changed geometry, or an empty text. All errors count but those about how
  /// things look and move, and of the warnings those that say that something was left out.
  const std::string& getComplaint() const { return mComplaint; }

 private:
  class tLogger : public Assimp::Logger {
   public:
    explicit tLogger(tAssimpRecords& records) : mRecords(records) {}
    bool attachStream(Assimp::LogStream*, unsigned int) override { return false; }
    bool detachStream(Assimp::LogStream*, unsigned int) override { return false; }

   protected:
    void OnDebug(const char*) override {}
    void OnVerboseDebug(const char*) override {}
    void OnInfo(const char*) override {}
    void OnWarn(const char* text) override {
      if (speaksOf(text, {"dropped", "out of range", "out-of-range", "skipping this", "unexpected eof"})) keep(text);
    }
    void OnError(const char* text) override {
      if (!speaksOf(text, {"material", "texture", "image", "light", "camera", "anim", "bone"})) keep(text);
    }

   private:
    void keep(const char* text) {
      if (mRecords.mComplaint.empty()) mRecords.mComplaint = text;
    }
    static bool speaksOf(std::string text, std::initializer_list<const char*> words) {
      std::transform(text.begin(), text.end(), text.begin(),
                     [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
      return std::any_of(words.begin(), words.end(),
                         [&](const char* word) { return text.find(word) != std::string::npos; });
    }

    tAssimpRecords& mRecords;
  };

  std::string mComplaint;
};

/// Some text of assimp as one line.
std::string oneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
  return std::string(trimmed(text));
}

/// Has assimp read the file as it stands, polygons and all.
const aiScene* readScene(const std::string& name, Assimp::Importer& importer) {
  const bool isPacked = fileExtension(name) == "gz";
  const std::string extension = fileExtension(isPacked ? name.substr(0, name.size() - 3) : name);
  std::string bytes = isPacked ? readGzipFile(name) : readFile(name);
  if (bytes.find_first_not_of(" \t\r\n") == std::string::npos) throw qzError(name, "the file is empty");
  if (extension.empty()) throw qzError(name, "the file name has no extension that tells the format");
  if (!importer.IsExtensionSupported("." + extension)) {
    throw qzError(name, "no reader for mesh files with the extension ." + extension);
  }

  if (extension == "obj") {
    bytes = convertObjToPly(name, bytes);
    return importer.ReadFileFromMemory(bytes.data(), bytes.size(), 0, "ply");
  }
  checkMeshFile(name, extension, bytes);
  if (isPacked) return importer.ReadFileFromMemory(bytes.data(), bytes.size(), 0, extension.c_str());
  return importer.ReadFile(name, 0);  // from the file, as it may refer to others beside it
}

/// Checks what triangulation relies on, and counts the triangles that it must give.
std::size_t checkFaces(const std::string& name, const aiScene& scene) {
  std::size_t nbTriangles = 0, face = 0;
  for (unsigned m = 0; m < scene.mNumMeshes; ++m) {
    const aiMesh& mesh = *scene.mMeshes[m];
    for (unsigned f = 0; f < mesh.mNumFaces; ++f, ++face) {
      const aiFace& corners = mesh.mFaces[f];
      for (unsigned i = 0; i < corners.mNumIndices; ++i) {
        if (corners.mIndices[i] < mesh.mNumVertices) continue;
        throw qzError(name + ": face " + std::to_string(face),
                      "vertex number " + std::to_string(static_cast<int>(corners.mIndices[i])) +
                          " is out of range, there are " + std::to_string(mesh.mNumVertices));
      }
      if (corners.mNumIndices >= 3) nbTriangles += corners.mNumIndices - 2;
    }
  }
  return nbTriangles;
}

std::size_t countTriangles(const aiScene& scene) {
  std::size_t nbTriangles = 0;
  for (unsigned m = 0; m < scene.mNumMeshes; ++m) {
    const aiMesh& mesh = *scene.mMeshes[m];
    nbTriangles += static_cast<std::size_t>(std::count_if(mesh.mFaces, mesh.mFaces + mesh.mNumFaces,
                                                          [](const aiFace& face) { return face.mNumIndices == 3; }));
  }
  return nbTriangles;
}

/// Joins the meshes of a scene, each as often as a node shows it and with that node's transform.
class tSceneJoiner {
 public:
  tSceneJoiner(const std::string& name, const aiScene& scene, std::size_t maxTriangles)
      : mName(name), mScene(scene), mMaxTriangles(maxTriangles) {
    if (scene.mRootNode != nullptr) addNode(*scene.mRootNode, aiMatrix4x4());
  }

  qz::qzTriMesh join() {
    if (mIndices.empty()) throw qzError(mName, "no triangles in the file");
    const auto bad = std::find_if(mVertices.begin(), mVertices.end(), [](const Wm4::Vector3<float>& vertex) {
      return !(std::isfinite(vertex[0]) && std::isfinite(vertex[1]) && std::isfinite(vertex[2]));
    });
    if (bad != mVertices.end()) failAtVertex(static_cast<int>(bad - mVertices.begin()));
    return qz::qzTriMesh(qz::qzVertexBuffer(std::move(mVertices)), qz::qzIndexBuffer(std::move(mIndices)));
  }

 private:
  void addNode(const aiNode& node, const aiMatrix4x4& parentTransform) {
    const aiMatrix4x4 transform = parentTransform * node.mTransformation;
    for (unsigned i = 0; i < node.mNumMeshes; ++i) addMesh(*mScene.mMeshes[node.mMeshes[i]], transform);
    for (unsigned i = 0; i < node.mNumChildren; ++i) addNode(*node.mChildren[i], transform);
  }

  void addMesh(const aiMesh& mesh, const aiMatrix4x4& transform) {
    const bool stays = transform == aiMatrix4x4();  // IsIdentity takes anything near it for it
    const std::size_t firstVertex = mVertices.size();
    if (mesh.mNumVertices > INT_MAX - firstVertex) throw qzError(mName, "more vertices than 32-bit indices can name");
    for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
      const aiVector3D vertex = stays ? mesh.mVertices[v] : transform * mesh.mVertices[v];
      mVertices.emplace_back(vertex.x, vertex.y, vertex.z);
    }
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
      const aiFace& face = mesh.mFaces[f];
      if (face.mNumIndices != 3) continue;  // a point or a line
      if (mIndices.size() / 3 == mMaxTriangles) {
        throw qzError(mName, "more than " + std::to_string(mMaxTriangles) + " triangles");
      }
      for (unsigned i = 0; i < 3; ++i) mIndices.push_back(static_cast<int>(firstVertex + face.mIndices[i]));
    }
  }

  [[noreturn]] void failAtVertex(int vertex) const {
    std::string place = mName + ": vertex " + std::to_string(vertex);
    const auto user = std::find(mIndices.begin(), mIndices.end(), vertex);
    if (user != mIndices.end()) place += " (triangle " + std::to_string((user - mIndices.begin()) / 3) + ")";
    throw qzError(place, "a coordinate is not finite");
  }

  const std::string& mName;
  const aiScene& mScene;
  std::size_t mMaxTriangles;
  std::vector<Wm4::Vector3<float>> mVertices;
  std::vector<int> mIndices;
};

}  // namespace

qz::qzTriMesh loadMesh(const std::string& name, std::size_t maxTriangles) {
  if (name == "-") throw qzError("standard input", "a mesh must come from a file, whose name tells its format");
  static std::mutex mutex;  // assimp has one logger for everybody
  const std::lock_guard<std::mutex> lock(mutex);

  Assimp::Importer importer;
  importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);  // no made-up triangles for bones
  const aiScene* scene = nullptr;
  {
    const tAssimpRecords records;
    scene = readScene(name, importer);
    if (scene == nullptr) throw qzError(name, oneLine(importer.GetErrorString()));
    if (!records.getComplaint().empty()) throw qzError(name, oneLine(records.getComplaint()));
  }

  const std::size_t nbTriangles = checkFaces(name, *scene);
  if (nbTriangles != 0) scene = importer.ApplyPostProcessing(aiProcess_Triangulate);
  if (scene == nullptr || countTriangles(*scene) != nbTriangles) {
    throw qzError(name, "a polygon cannot be divided into triangles");
  }
  return tSceneJoiner(name, *scene, maxTriangles).join();
}

}  // namespace qzToolkit
