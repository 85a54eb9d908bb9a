#include <toolkit/io/mesh/qzMeshFile.h>

#include <assimp/config.h>
#include <assimp/scene.h>
#include <toolkit/base/qzError.h>
#include <toolkit/base/qzVectorMath.h>
#include <toolkit/io/file/qzFile.h>
#include <toolkit/io/mesh/qzMeshFileCheck.h>
#include <toolkit/io/mesh/qzObjFile.h>
#include <toolkit/run/qzChildProcess.h>
#include <unistd.h>

#include <algorithm>
#include <assimp/DefaultLogger.hpp>
#include <assimp/Importer.hpp>
#include <assimp/Logger.hpp>
#include <cctype>
#include <climits>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

namespace qzToolkit {

namespace {

/// Collects what assimp logs while this lives: it repairs some broken files and reports that only in its log.
class tAssimpRecords {
 public:
  tAssimpRecords() { Assimp::DefaultLogger::set(new tLogger(*this)); }
  ~tAssimpRecords() { Assimp::DefaultLogger::set(nullptr); }  // deletes the logger
  tAssimpRecords(const tAssimpRecords&) = delete;
  tAssimpRecords& operator=(const tAssimpRecords&) = delete;

  /// The first record about missing or changed geometry, or an empty text: any error that is not about appearance or
  /// animation, and warnings that something was dropped.
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

/// Joins the meshes of a scene: one copy for every node that refers to it, with the transform of that node.
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
    const bool stays = transform == aiMatrix4x4();  // IsIdentity accepts anything near it
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

/// A mesh file as bytes.
struct tFile {
  const std::string& mName;
  std::string mExtension;  // of the uncompressed file
  std::string mBytes;      // uncompressed
  bool mIsPacked;
};

/// Reads a file by assimp.
qzPolygonMesh readWithAssimp(const tFile& file) {
  const tAssimpRecords records;
  Assimp::Importer importer;
  if (!importer.IsExtensionSupported("." + file.mExtension)) {
    throw qzError(file.mName, "no reader for mesh files with the extension ." + file.mExtension);
  }
  importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);  // no placeholder triangles for bones
  const aiScene* const scene =
      file.mIsPacked ? importer.ReadFileFromMemory(file.mBytes.data(), file.mBytes.size(), 0, file.mExtension.c_str())
                     : importer.ReadFile(file.mName, 0);  // which may refer to other files
  if (scene == nullptr) throw qzError(file.mName, importer.GetErrorString());
  if (!records.getComplaint().empty()) throw qzError(file.mName, records.getComplaint());
  return tSceneJoiner(file.mName, *scene).join();
}

/// Header of what the reading process writes; the error text or the arrays of the mesh follow.
struct tAnswer {
  std::uint64_t mErrorSize, mNbVertices, mNbCorners, mNbFaces;
};

template <class tElement>
void writeArray(const qzChildProcess::tOutput& output, const tElement* elements, std::size_t count) {
  static_assert(std::is_trivially_copyable_v<tElement>);
  output.write(elements, count * sizeof(tElement));
}

template <class tArray>
void readArray(qzChildProcess& process, tArray& elements, std::uint64_t count) {
  if (count > INT_MAX) throw qzChildProcess::tFailure("failed");
  elements.resize(count);
  process.read(elements.data(), count * sizeof(elements[0]));
}

void writeError(const qzChildProcess::tOutput& output, const std::string& error) {
  const tAnswer answer{error.size(), 0, 0, 0};
  writeArray(output, &answer, 1);
  writeArray(output, error.data(), error.size());
}

void writeAnswer(const qzChildProcess::tOutput& output, const tFile& file) {
  try {
    const qzPolygonMesh mesh = readWithAssimp(file);
    const tAnswer answer{0, mesh.mVertices.size(), mesh.mCorners.size(), mesh.mNbCorners.size()};
    writeArray(output, &answer, 1);
    writeArray(output, mesh.mVertices.data(), mesh.mVertices.size());
    writeArray(output, mesh.mCorners.data(), mesh.mCorners.size());
    writeArray(output, mesh.mNbCorners.data(), mesh.mNbCorners.size());
  } catch (const qzError& error) {
    writeError(output, error.what());
  } catch (const std::bad_alloc&) {
    writeError(output, file.mName + ": not enough memory to read it");
  } catch (const std::exception& error) {
    writeError(output, qzError(file.mName, error.what()).what());
  }
}

/// Whether a mesh from a process that may have been corrupted has consistent counts and indices.
bool isConsistent(const qzPolygonMesh& mesh) {
  std::size_t nbCorners = 0;
  for (int count : mesh.mNbCorners) {
    if (count < 0) return false;
    nbCorners += static_cast<std::size_t>(count);
  }
  return nbCorners == mesh.mCorners.size() && std::all_of(mesh.mCorners.begin(), mesh.mCorners.end(), [&](int corner) {
           return corner >= 0 && static_cast<std::size_t>(corner) < mesh.mVertices.size();
         });
}

/// The same in a child process: assimp crashes, leaks or loops for ever on some damaged files.
qzPolygonMesh readInChildProcess(const tFile& file, const tCancel* cancel) {
  constexpr std::size_t kSeconds = 20, kBytesPerSecond = 100000;  // a tenth of the speed of the slowest readers
  const std::size_t memory =
      static_cast<std::size_t>(::sysconf(_SC_PHYS_PAGES)) * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  const qzChildProcess::tLimits limits{static_cast<unsigned>(kSeconds + file.mBytes.size() / kBytesPerSecond),
                                       memory / 2};
  try {
    qzChildProcess process(
        limits, [&](const qzChildProcess::tOutput& output) { writeAnswer(output, file); }, cancel);
    tAnswer answer;
    process.read(&answer, sizeof answer);
    if (answer.mErrorSize > 0) {
      std::string error;
      readArray(process, error, answer.mErrorSize);
      throw qzError(error);
    }
    qzPolygonMesh mesh;
    readArray(process, mesh.mVertices, answer.mNbVertices);
    readArray(process, mesh.mCorners, answer.mNbCorners);
    readArray(process, mesh.mNbCorners, answer.mNbFaces);
    if (!isConsistent(mesh)) throw qzChildProcess::tFailure("failed");
    return mesh;
  } catch (const qzChildProcess::tFailure& failure) {
    throw qzError(file.mName, "cannot be read: assimp's reader of ." + file.mExtension + " files " + failure.what());
  }
}

qzPolygonMesh readPolygons(const std::string& name, const tCancel* cancel, tNonFinite nonFinite) {
  if (name == "-") throw qzError("standard input", "a mesh must come from a file, whose extension gives its format");
  const bool isPacked = fileExtension(name) == "gz";
  const tFile file{name, fileExtension(isPacked ? name.substr(0, name.size() - 3) : name),
                   isPacked ? readGzipFile(name, cancel) : readFile(name, cancel), isPacked};
  if (file.mBytes.find_first_not_of(" \t\r\n") == std::string::npos) throw qzError(name, "the file is empty");
  if (file.mExtension.empty()) throw qzError(name, "the file name has no extension that gives the format");
  if (file.mExtension == "obj") return readObj(name, file.mBytes, cancel, nonFinite);
  checkMeshFile(name, file.mExtension, file.mBytes, cancel);
  return readInChildProcess(file, cancel);
}

void checkVertices(const std::string& name, const qzPolygonMesh& mesh) {
  const auto bad = std::find_if_not(mesh.mVertices.begin(), mesh.mVertices.end(),
                                    [](const Wm4::Vector3<float>& vertex) { return isFinite(vertex); });
  if (bad == mesh.mVertices.end()) return;
  throw qzError(name + ": vertex " + std::to_string(bad - mesh.mVertices.begin()), "a coordinate is not finite");
}

}  // namespace

qz::qzTriMesh loadMesh(const std::string& name, const tCancel* cancel, std::size_t maxTriangles, tNonFinite nonFinite) {
  qzPolygonMesh mesh = readPolygons(name, cancel, nonFinite);
  if (nonFinite == tNonFinite::eRefuse) checkVertices(name, mesh);
  const std::size_t nbTriangles = mesh.countTriangles();
  if (nbTriangles == 0) throw qzError(name, "no triangles in the file");
  if (nbTriangles > maxTriangles) {
    throw qzError(name, "more triangles than the limit of " + std::to_string(maxTriangles));
  }
  return mesh.triangulate(cancel);
}

}  // namespace qzToolkit
