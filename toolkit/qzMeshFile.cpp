#include <assimp/config.h>
#include <assimp/scene.h>
#include <toolkit/qzError.h>
#include <toolkit/qzFile.h>
#include <toolkit/qzMeshFile.h>
#include <toolkit/qzMeshFileCheck.h>
#include <toolkit/qzObjFile.h>

#include <algorithm>
#include <assimp/DefaultLogger.hpp>
#include <assimp/Importer.hpp>
#include <assimp/Logger.hpp>
#include <cctype>
#include <climits>
#include <cmath>
#include <mutex>
#include <utility>

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

/// Joins the meshes of a scene, each as often as a node shows it and with that node's transform.
class tSceneJoiner {
 public:
  tSceneJoiner(const std::string& name, const aiScene& scene) : mName(name), mScene(scene) {}

  qzPolygonMesh join() {
    if (mScene.mRootNode != nullptr) addNode(*mScene.mRootNode, aiMatrix4x4());
    return std::move(mJoined);
  }

 private:
  void addNode(const aiNode& node, const aiMatrix4x4& parentTransform) {
    const aiMatrix4x4 transform = parentTransform * node.mTransformation;
    for (unsigned i = 0; i < node.mNumMeshes; ++i) addMesh(*mScene.mMeshes[node.mMeshes[i]], transform);
    for (unsigned i = 0; i < node.mNumChildren; ++i) addNode(*node.mChildren[i], transform);
  }

  void addMesh(const aiMesh& mesh, const aiMatrix4x4& transform) {
    const bool stays = transform == aiMatrix4x4();  // IsIdentity takes anything near it for it
    const std::size_t firstVertex = mJoined.mVertices.size();
    if (mesh.mNumVertices > INT_MAX - firstVertex) throw qzError(mName, "more vertices than 32-bit indices can name");
    for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
      const aiVector3D vertex = stays ? mesh.mVertices[v] : transform * mesh.mVertices[v];
      mJoined.mVertices.emplace_back(vertex.x, vertex.y, vertex.z);
    }
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
      const aiFace& face = mesh.mFaces[f];
      for (unsigned i = 0; i < face.mNumIndices; ++i) {
        if (face.mIndices[i] >= mesh.mNumVertices) {
          throw qzError(mName + ": face " + std::to_string(mJoined.mNbCorners.size()),
                        "vertex number " + std::to_string(static_cast<int>(face.mIndices[i])) +
                            " is out of range, there are " + std::to_string(mesh.mNumVertices));
        }
        mJoined.mCorners.push_back(static_cast<int>(firstVertex + face.mIndices[i]));
      }
      mJoined.mNbCorners.push_back(static_cast<int>(face.mNumIndices));
    }
  }

  const std::string& mName;
  const aiScene& mScene;
  qzPolygonMesh mJoined;
};

/// What assimp makes of a file. bytes are what is in it, unpacked when isPacked.
qzPolygonMesh readWithAssimp(const std::string& name, const std::string& extension, const std::string& bytes,
                             bool isPacked) {
  static std::mutex mutex;  // assimp has one logger for everybody
  const std::lock_guard<std::mutex> lock(mutex);
  const tAssimpRecords records;
  Assimp::Importer importer;
  if (!importer.IsExtensionSupported("." + extension)) {
    throw qzError(name, "no reader for mesh files with the extension ." + extension);
  }
  importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);  // no made-up triangles for bones
  const aiScene* const scene = isPacked ? importer.ReadFileFromMemory(bytes.data(), bytes.size(), 0, extension.c_str())
                                        : importer.ReadFile(name, 0);  // which may refer to others beside it
  if (scene == nullptr) throw qzError(name, importer.GetErrorString());
  if (!records.getComplaint().empty()) throw qzError(name, records.getComplaint());
  return tSceneJoiner(name, *scene).join();
}

qzPolygonMesh readPolygons(const std::string& name) {
  if (name == "-") throw qzError("standard input", "a mesh must come from a file, whose name tells its format");
  const bool isPacked = fileExtension(name) == "gz";
  const std::string extension = fileExtension(isPacked ? name.substr(0, name.size() - 3) : name);
  const std::string bytes = isPacked ? readGzipFile(name) : readFile(name);
  if (bytes.find_first_not_of(" \t\r\n") == std::string::npos) throw qzError(name, "the file is empty");
  if (extension.empty()) throw qzError(name, "the file name has no extension that tells the format");
  if (extension == "obj") return readObj(name, bytes);
  checkMeshFile(name, extension, bytes);
  return readWithAssimp(name, extension, bytes, isPacked);
}

void checkVertices(const std::string& name, const qzPolygonMesh& mesh) {
  const auto bad = std::find_if(mesh.mVertices.begin(), mesh.mVertices.end(), [](const Wm4::Vector3<float>& vertex) {
    return !(std::isfinite(vertex[0]) && std::isfinite(vertex[1]) && std::isfinite(vertex[2]));
  });
  if (bad == mesh.mVertices.end()) return;
  throw qzError(name + ": vertex " + std::to_string(bad - mesh.mVertices.begin()), "a coordinate is not finite");
}

}  // namespace

qz::qzTriMesh loadMesh(const std::string& name, std::size_t maxTriangles) {
  qzPolygonMesh mesh = readPolygons(name);
  checkVertices(name, mesh);
  const std::size_t nbTriangles = mesh.countTriangles();
  if (nbTriangles == 0) throw qzError(name, "no triangles in the file");
  if (nbTriangles > maxTriangles) {
    throw qzError(name, "more triangles than the limit of " + std::to_string(maxTriangles));
  }
  return mesh.triangulate();
}

}  // namespace qzToolkit
