// teskpf::saveFile and teskpf::FileLock: what a save keeps, what it refuses,
// that it never leaves a temporary file or a half-written target behind, and
// that locked read-modify-writes serialize. CI runs as root; the cases of an
// ordinary user run in a forked child that becomes nobody.
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <sched.h>
#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>

#include <gtest/gtest.h>

#include "teskpf/editor.h"
#include "teskpf/error.h"
#include "teskpf/save.h"
#include "test_support.h"

using namespace test_support;

// This program's own openat, fchmod, fsync, renameat and umask stand in for
// the C library's, for the library too (a shared one as well: the
// executable's definitions come first), and note what the saves ask of the
// system while a trace is on. They make the system calls themselves rather
// than look up the C library's functions, which a sanitizer may intercept.
namespace save_trace {
std::vector<std::string> *calls = nullptr;  // the trace, when on
int umask_calls = 0;

std::string octal(mode_t mode) {
    char text[8];
    std::snprintf(text, sizeof text, "%04o", unsigned(mode & 07777));
    return text;
}

// The access mode and the flags of an open that matter to a save, e.g.
// "O_WRONLY|O_CREAT|O_EXCL".
std::string flagNames(int flags) {
    const int access = flags & O_ACCMODE;
    std::string names = access == O_WRONLY ? "O_WRONLY" : access == O_RDWR ? "O_RDWR" : "O_RDONLY";
    const std::pair<int, const char *> known[] = {{O_CREAT, "O_CREAT"},       {O_EXCL, "O_EXCL"},
                                                  {O_TRUNC, "O_TRUNC"},       {O_APPEND, "O_APPEND"},
                                                  {O_NOFOLLOW, "O_NOFOLLOW"}, {O_CLOEXEC, "O_CLOEXEC"}};
    for (const auto &[flag, name] : known)
        if (flags & flag) names += std::string("|") + name;
    return names;
}

// `path` with a temporary name's random letters as "*".
std::string starred(std::string path) {
    if (const size_t marker = path.find(".teskpf-"); marker != std::string::npos) path.replace(marker + 8, 12, "*");
    return path;
}

// The path `fd` is open on.
std::string pathOf(int fd) {
    std::error_code ignored;
    return fs::read_symlink("/proc/self/fd/" + std::to_string(fd), ignored).string();
}
}  // namespace save_trace

namespace save_trace {
// openat and openat64 (what a build with 64-bit file offsets calls): notes
// every creation of a file, then opens.
int openAt(int dir, const char *name, int flags, va_list rest) {
    const bool created = (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = created ? static_cast<mode_t>(va_arg(rest, unsigned)) : 0;
    if (calls && created)
        calls->push_back("create " + starred((dir == AT_FDCWD ? "." : pathOf(dir)) + "/" + name) + " " +
                         flagNames(flags) + " " + octal(mode));
    return static_cast<int>(syscall(SYS_openat, dir, name, flags, mode));
}
}  // namespace save_trace

extern "C" int openat(int dir, const char *name, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const int fd = save_trace::openAt(dir, name, flags, rest);
    va_end(rest);
    return fd;
}

extern "C" int openat64(int dir, const char *name, int flags, ...) __attribute__((alias("openat")));

extern "C" int fchmod(int fd, mode_t mode) noexcept {
    if (save_trace::calls)
        save_trace::calls->push_back("fchmod " + save_trace::starred(save_trace::pathOf(fd)) + " " +
                                     save_trace::octal(mode));
    return static_cast<int>(syscall(SYS_fchmod, fd, mode));
}

extern "C" int fsync(int fd) {
    if (save_trace::calls) save_trace::calls->push_back("fsync " + save_trace::starred(save_trace::pathOf(fd)));
    return static_cast<int>(syscall(SYS_fsync, fd));
}

extern "C" int renameat(int old_dir, const char *old_name, int new_dir, const char *new_name) noexcept {
    if (save_trace::calls) save_trace::calls->push_back("rename " + save_trace::starred(old_name) + " " + new_name);
    return static_cast<int>(syscall(SYS_renameat2, old_dir, old_name, new_dir, new_name, 0));
}

extern "C" mode_t umask(mode_t mask) noexcept {
    ++save_trace::umask_calls;
    return static_cast<mode_t>(syscall(SYS_umask, mask));
}

namespace {

const uid_t kNobody = getpwnam("nobody")->pw_uid;
const gid_t kNogroup = getgrnam("nogroup")->gr_gid;

// "ok", or the message of what `action` threw; for an IoError followed by
// its code, e.g. " [EACCES]".
std::string outcome(const std::function<void()> &action) {
    try {
        action();
    } catch (const teskpf::IoError &error) {
        const char *code = strerrorname_np(error.code().value());
        return std::string(error.what()) + " [" + (code ? code : "?") + "]";
    } catch (const std::exception &error) {
        return error.what();
    } catch (const std::string &message) {
        return message;
    }
    return "ok";
}

// outcome() of `action` run in a forked child; "" if the child died.
std::string inChild(const std::function<void()> &action) {
    int out[2];
    if (pipe(out) != 0) return "pipe failed";
    pid_t pid = fork();
    if (pid == 0) {
        close(out[0]);
        std::string result = outcome(action);
        ssize_t ignored = write(out[1], result.data(), result.size());
        (void)ignored;
        _exit(0);
    }
    close(out[1]);
    std::string result;
    char buffer[4096];
    for (ssize_t got; (got = read(out[0], buffer, sizeof buffer)) > 0;) result.append(buffer, size_t(got));
    close(out[0]);
    waitpid(pid, nullptr, 0);
    return result;
}

std::string asNobody(const std::function<void()> &action) {
    return inChild([&] {
        if (setgroups(0, nullptr) != 0 || setgid(kNogroup) != 0 || setuid(kNobody) != 0)
            throw std::runtime_error("cannot become nobody");
        action();
    });
}

std::string save(const std::string &path, std::string_view content) {
    return outcome([&] { teskpf::saveFile(path, content); });
}

// "UID:GID MODE" of `path` (not following a link), e.g. "65534:65534 0640".
std::string ownerAndMode(const std::string &path) {
    struct stat info;
    if (lstat(path.c_str(), &info) != 0) return "missing";
    char mode[8];
    std::snprintf(mode, sizeof mode, "%04o", unsigned(info.st_mode & 07777));
    return std::to_string(info.st_uid) + ":" + std::to_string(info.st_gid) + " " + mode;
}

// Writes `path` with `content`, then gives it `mode` and owner.
void makeFile(const std::string &path, const std::string &content, mode_t mode, uid_t uid = 0, gid_t gid = 0) {
    std::ofstream(path, std::ios::binary) << content;
    if (chown(path.c_str(), uid, gid) != 0 || chmod(path.c_str(), mode) != 0) throw std::runtime_error("setup");
}

void makeDir(const std::string &path, mode_t mode, uid_t uid = 0) {
    if (mkdir(path.c_str(), mode) != 0 || chown(path.c_str(), uid, 0) != 0 || chmod(path.c_str(), mode) != 0)
        throw std::runtime_error("setup");
}

// The temporary files of saves anywhere below `dir`.
Rows tempFiles(const std::string &dir) {
    Rows found;
    for (const auto &entry : fs::recursive_directory_iterator(dir))
        if (entry.path().filename().string().find(".teskpf-") != std::string::npos)
            found.push_back(entry.path().filename().string());
    return found;
}

class SafeSave : public ::testing::Test {
protected:
    void SetUp() override { chmod(dir.path().c_str(), 0755); }  // let nobody in
    void TearDown() override { EXPECT_EQ(tempFiles(dir.path()), Rows{}); }
    std::string at(const std::string &name) const { return dir.path() + "/" + name; }
    TempDir dir;
};

TEST_F(SafeSave, ReplacesContent) {
    const std::string big(3 << 20, 'x');
    const std::pair<const char *, std::string> cases[] = {
        {"old\n", "new\n"}, {"", "from empty"}, {"to empty", ""}, {"small", big}, {nullptr, "a new file\n"}};
    int n = 0;
    for (const auto &[before, after] : cases) {
        const std::string path = at("f" + std::to_string(n++));
        if (before) makeFile(path, before, 0644);
        EXPECT_EQ(save(path, after), "ok");
        EXPECT_EQ(readText(path), after);
    }
}

TEST_F(SafeSave, KeepsModeOwnerAndGroup) {
    struct Case {
        mode_t mode;
        uid_t uid;
        gid_t gid;
    };
    // Root edits files of others; setuid and setgid bits survive because the
    // owner does.
    const Case cases[] = {{0640, kNobody, kNogroup},  {0600, 0, 0},  {0664, 0, kNogroup},  {0755, kNobody, 0},
                          {06755, kNobody, kNogroup}, {04755, 0, 0}, {02750, 0, kNogroup}, {0604, kNobody, kNogroup}};
    for (const Case &c : cases) {
        const std::string path = at("f");
        makeFile(path, "old", c.mode, c.uid, c.gid);
        const std::string expected = ownerAndMode(path);
        EXPECT_EQ(save(path, "new"), "ok");
        EXPECT_EQ(ownerAndMode(path), expected);
        EXPECT_EQ(readText(path), "new");
        unlink(path.c_str());
    }
}

// A new file gets what open(path, 0666) gives under the process umask (set
// here by the test, never by the library).
TEST_F(SafeSave, NewFileFollowsTheUmask) {
    const std::pair<mode_t, const char *> cases[] = {
        {022, "0:0 0644"}, {027, "0:0 0640"}, {077, "0:0 0600"}, {0, "0:0 0666"}};
    for (const auto &[mask, expected] : cases) {
        const mode_t previous = umask(mask);
        const std::string result = save(at("new"), "x");
        umask(previous);
        EXPECT_EQ(result, "ok");
        EXPECT_EQ(ownerAndMode(at("new")), expected) << std::oct << mask;
        unlink(at("new").c_str());
    }
}

// The refusals of an ordinary user; each leaves the target as it was.
TEST_F(SafeSave, RefusesWhatAUserMustNotChange) {
    makeDir(at("open"), 0777);  // not sticky: anyone may replace names here
    makeDir(at("mine"), 0755, kNobody);
    struct Case {
        const char *name;
        uid_t uid;
        gid_t gid;
        mode_t mode;
        const char *reason;
    };
    const Case cases[] = {
        {"open/roots.pf", 0, 0, 0666, "its owner and group (0:0) cannot be kept: Operation not permitted [EPERM]"},
        {"open/group.pf", kNobody, 0, 0666,
         "its owner and group (65534:0) cannot be kept: Operation not permitted [EPERM]"},
        {"mine/readonly.pf", kNobody, kNogroup, 0444, "it is read-only (mode 0444) [EACCES]"},
        {"open/others.pf", 0, 0, 0644, "it is read-only (mode 0644) [EACCES]"},
        {"mine/writeonly.pf", kNobody, kNogroup, 0200, "Permission denied [EACCES]"},  // attributes unreadable
    };
    for (const Case &c : cases) {
        const std::string path = at(c.name);
        makeFile(path, "old", c.mode, c.uid, c.gid);
        const std::string before = ownerAndMode(path);
        EXPECT_EQ(asNobody([&] { teskpf::saveFile(path, "new"); }), "cannot write '" + path + "': " + c.reason);
        EXPECT_EQ(readText(path) + " " + ownerAndMode(path), "old " + before);
    }
    EXPECT_EQ(asNobody([&] { teskpf::saveFile(at("mine/ok.pf"), "new"); }), "ok");  // the control case
}

// Root bypasses permissions, so a file without a write bit counts as
// read-only; the classic write reports it in its own form.
TEST_F(SafeSave, ReadOnlyForRootToo) {
    makeFile(at("ro.pf"), "old", 0444);
    EXPECT_EQ(save(at("ro.pf"), "new"), "cannot write '" + at("ro.pf") + "': it is read-only (mode 0444) [EACCES]");
    TeskPf pf(dir.write("src.pf", "a 1\n"), 0);
    std::string name = at("ro");
    EXPECT_EQ(thrown([&] { pf.write(name); }),
              "TeskPf::write: cannot write '" + at("ro.pf") + "': it is read-only (mode 0444)");
    EXPECT_EQ(readText(at("ro.pf")), "old");
}

// Targets whose replacement would lose something; each is left as it was.
TEST_F(SafeSave, RefusesTargetsItWouldDamage) {
    makeFile(at("linked.pf"), "old", 0644);
    ASSERT_EQ(link(at("linked.pf").c_str(), at("other-name").c_str()), 0);
    ASSERT_EQ(mkfifo(at("fifo").c_str(), 0644), 0);
    ASSERT_EQ(mknod(at("null").c_str(), S_IFCHR | 0666, makedev(1, 3)), 0);
    ASSERT_EQ(mkdir(at("dir").c_str(), 0755), 0);
    int sock = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", at("socket").c_str());
    ASSERT_EQ(bind(sock, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(symlink("nowhere", at("dangling").c_str()), 0);
    ASSERT_EQ(symlink("loop-b", at("loop-a").c_str()), 0);
    ASSERT_EQ(symlink("loop-a", at("loop-b").c_str()), 0);
    ASSERT_EQ(symlink("fifo", at("to-fifo").c_str()), 0);

    const std::pair<std::string, std::string> cases[] = {
        {"linked.pf",
         "it has 2 hard links; saving would give this name a new file and split it from the others [EMLINK]"},
        {"fifo", "it is a FIFO, not a regular file [EINVAL]"},
        {"null", "it is a character device, not a regular file [EINVAL]"},
        {"socket", "it is a socket, not a regular file [EINVAL]"},
        {"dir", "it is a directory [EISDIR]"},
        {"dir/", "it is a directory [EISDIR]"},
        {"to-fifo", "'" + dir.path() + "/fifo' is a FIFO, not a regular file [EINVAL]"},
        {"dangling",
         "the symbolic link '" + at("dangling") + "' points to '" + at("nowhere") + "', which does not exist [ENOENT]"},
        {"loop-a", "Too many levels of symbolic links [ELOOP]"},
        {"no/such/dir/f.pf", "No such file or directory [ENOENT]"},
    };
    for (const auto &[name, reason] : cases) {
        struct stat before {
        }, after{};
        lstat(at(name).c_str(), &before);
        EXPECT_EQ(save(at(name), "new"), "cannot write '" + at(name) + "': " + reason);
        lstat(at(name).c_str(), &after);
        EXPECT_EQ(after.st_ino, before.st_ino) << name;
        EXPECT_EQ(after.st_mode, before.st_mode) << name;
    }
    EXPECT_EQ(readText(at("linked.pf")), "old");
    EXPECT_FALSE(fs::exists(at("nowhere")));
    close(sock);
}

// Symbolic links are followed (and stay links) unless the kernel's
// protected_symlinks rule would refuse them: a link in a sticky
// world-writable directory is followed only when it belongs to the
// directory's owner or to the one saving.
TEST_F(SafeSave, FollowsOnlyTrustedSymbolicLinks) {
    makeDir(at("data"), 0755, kNobody);
    makeDir(at("plain"), 0755);
    makeDir(at("shared"), 01777);
    makeDir(at("nobodys"), 01777, kNobody);
    struct Case {
        const char *link;    // made in the temporary directory
        const char *points;  // the link's text
        uid_t owner;         // the link's owner
        bool byNobody;       // saved by nobody rather than root
        bool followed;
    };
    const Case cases[] = {
        {"plain/rel", "../data/real.pf", 0, false, true},
        {"plain/rel", "../data/real.pf", kNobody, false, true},  // not in a shared directory
        {"shared/planted", "DATA/real.pf", kNobody, false, false},
        {"shared/own", "DATA/real.pf", 0, false, true},        // the saver's and the directory owner's
        {"shared/mine", "DATA/real.pf", kNobody, true, true},  // the saver's
        {"shared/roots", "DATA/real.pf", 0, true, true},       // the directory owner's
        {"nobodys/dirowner", "DATA/real.pf", kNobody, false, true},
        {"shared/dirlink", "DATA", kNobody, false, false},  // planted in the middle of the path
    };
    for (const Case &c : cases) {
        makeFile(at("data/real.pf"), "old", 0644, kNobody, kNogroup);
        std::string text = c.points;
        if (text.rfind("DATA", 0) == 0) text.replace(0, 4, at("data"));
        const std::string link = at(c.link);
        ASSERT_EQ(symlink(text.c_str(), link.c_str()), 0);
        ASSERT_EQ(lchown(link.c_str(), c.owner, c.owner == 0 ? 0 : kNogroup), 0);
        const std::string path = std::string(c.link) == "shared/dirlink" ? link + "/real.pf" : link;
        auto action = [&] { teskpf::saveFile(path, "new"); };
        const std::string result = c.byNobody ? asNobody(action) : outcome(action);
        if (c.followed) {
            EXPECT_EQ(result, "ok") << c.link;
        } else {
            EXPECT_EQ(result, "cannot write '" + path + "': not following the symbolic link '" + link +
                                  "': it is in a sticky world-writable directory and belongs to neither the "
                                  "directory's owner nor you [EACCES]");
        }
        EXPECT_EQ(readText(at("data/real.pf")), c.followed ? "new" : "old") << c.link;
        EXPECT_EQ(fs::read_symlink(link).string(), text);
        EXPECT_EQ(ownerAndMode(at("data/real.pf")), "65534:65534 0644");
        unlink(link.c_str());
    }
}

// Attributes that exist only as extended attributes: a user attribute and a
// POSIX ACL. Skipped only where no candidate directory supports them.
TEST_F(SafeSave, KeepsExtendedAttributesAndAcls) {
    // A POSIX ACL as the kernel stores it: version 2, then (tag, permissions,
    // id) entries; owner rw-, nobody r--, group r--, mask r--, other ---.
    auto acl = [](std::vector<std::array<uint32_t, 3>> entries) {
        std::string blob(4, '\0');
        const uint32_t version = 2;
        std::memcpy(blob.data(), &version, 4);
        for (const auto &[tag, perm, id] : entries) {
            char entry[8];
            const uint16_t tag16 = uint16_t(tag), perm16 = uint16_t(perm);
            std::memcpy(entry, &tag16, 2);
            std::memcpy(entry + 2, &perm16, 2);
            std::memcpy(entry + 4, &id, 4);
            blob.append(entry, 8);
        }
        return blob;
    };
    const uint32_t none = ~0u;
    const std::string access =
        acl({{0x01, 6, none}, {0x02, 4, kNobody}, {0x04, 4, none}, {0x10, 4, none}, {0x20, 0, none}});
    const std::string inherited =
        acl({{0x01, 7, none}, {0x04, 5, none}, {0x08, 7, kNogroup}, {0x10, 7, none}, {0x20, 5, none}});

    std::optional<TempDir> fromTmp, fromBuild;
    fromTmp.emplace();
    std::string base = fromTmp->path();
    if (setxattr(base.c_str(), "user.probe", "1", 1, 0) != 0) {
        ScopedEnv tmpdir("TMPDIR", fs::current_path().string());
        fromBuild.emplace();
        base = fromBuild->path();
        if (setxattr(base.c_str(), "user.probe", "1", 1, 0) != 0)
            GTEST_SKIP() << "no extended attributes on the temp or build directory's file system";
    }
    auto value = [](const std::string &path, const char *name) {
        char buffer[256];
        ssize_t size = getxattr(path.c_str(), name, buffer, sizeof buffer);
        return size < 0 ? std::string("none") : std::string(buffer, size_t(size));
    };

    const std::string file = base + "/attrs.pf";
    makeFile(file, "old", 0640, kNobody, kNogroup);
    ASSERT_EQ(setxattr(file.c_str(), "user.origin", "station 7", 9, 0), 0);
    ASSERT_EQ(setxattr(file.c_str(), "system.posix_acl_access", access.data(), access.size(), 0), 0);
    const std::string plain = base + "/plain.pf";
    makeFile(plain, "old", 0644);
    // Files created from now on inherit the directory's default ACL; the new
    // copy of plain.pf must not keep it, a brand-new file must get it.
    ASSERT_EQ(setxattr(base.c_str(), "system.posix_acl_default", inherited.data(), inherited.size(), 0), 0);

    EXPECT_EQ(save(file, "new"), "ok");
    EXPECT_EQ(value(file, "user.origin"), "station 7");
    EXPECT_EQ(value(file, "system.posix_acl_access"), access);
    EXPECT_EQ(ownerAndMode(file), "65534:65534 0640");
    EXPECT_EQ(save(plain, "new"), "ok");
    EXPECT_EQ(value(plain, "system.posix_acl_access"), "none");
    EXPECT_EQ(ownerAndMode(plain), "0:0 0644");
    EXPECT_EQ(save(base + "/brand-new.pf", "new"), "ok");
    EXPECT_EQ(value(base + "/brand-new.pf", "system.posix_acl_access").size(), inherited.size());
    EXPECT_EQ(ownerAndMode(base + "/brand-new.pf"), "0:0 0664");  // 0666 masked by the default ACL
    EXPECT_EQ(tempFiles(base), Rows{});
}

// Failures half way: the target keeps its content and no temporary file is
// left, whether the disk is full or the directory cannot take a new name.
TEST_F(SafeSave, FailuresLeaveTheTargetIntact) {
    makeFile(at("f.pf"), "old", 0644);
    const std::string full = inChild([&] {
        const rlimit limit{4096, 4096};  // a file may grow to 4 KiB: the disk is "full"
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        teskpf::saveFile(at("f.pf"), std::string(1 << 20, 'x'));
    });
    EXPECT_EQ(full, "cannot write '" + at("f.pf") + "': File too large [EFBIG]");
    EXPECT_EQ(readText(at("f.pf")), "old");

    makeDir(at("locked"), 0755, kNobody);
    makeFile(at("locked/f.pf"), "old", 0644, kNobody, kNogroup);
    chmod(at("locked").c_str(), 0555);
    EXPECT_EQ(asNobody([&] { teskpf::saveFile(at("locked/f.pf"), "new"); }),
              "cannot write '" + at("locked/f.pf") +
                  "': cannot create a temporary file in its directory: "
                  "Permission denied [EACCES]");
    EXPECT_EQ(readText(at("locked/f.pf")), "old");
}

// Every way of saving creates its temporary file exclusively next to the
// target: private (0600) when it copies an existing file, which gets the
// file's mode once it has its content, as open(path, 0666) would when the
// file is new. It flushes the new content before the rename and the
// directory after it, so that a crash leaves the old file or the new one,
// and none touches the process-wide umask (other threads create files).
TEST_F(SafeSave, CreatesPrivatelyFlushesAroundTheRenameAndLeavesTheUmaskAlone) {
    makeFile(at("old.pf"), "a 1\n", 0640);
    struct Case {
        const char *name;
        std::function<void()> action;
        bool replaces;  // an existing file, of mode 0640
    };
    const Case cases[] = {
        {"old.pf", [&] { teskpf::saveFile(at("old.pf"), "a 2\n"); }, true},
        {"new.pf", [&] { teskpf::saveFile(at("new.pf"), "a 2\n"); }, false},
        {"written.pf",
         [&] {
             std::string name = at("written");  // write() adds ".pf" to it
             TeskPf(at("old.pf"), 0).write(name);
         },
         false},
        {"old.pf",
         [&] {
             teskpf::Editor editor = teskpf::Editor::openLocked(at("old.pf"));
             editor.setValue("[\"a\"]", "3");
             editor.save();
         },
         true},
    };
    for (const Case &c : cases) {
        std::vector<std::string> calls;
        save_trace::umask_calls = 0;
        save_trace::calls = &calls;
        const std::string result = outcome(c.action);
        save_trace::calls = nullptr;
        EXPECT_EQ(result, "ok") << c.name;
        const std::string temp = "." + std::string(c.name) + ".teskpf-*";
        Rows expected = {"create " + at(temp) + " O_WRONLY|O_CREAT|O_EXCL|O_NOFOLLOW|O_CLOEXEC " +
                         (c.replaces ? "0600" : "0666")};
        if (c.replaces) expected.push_back("fchmod " + at(temp) + " 0640");
        expected.insert(expected.end(), {"fsync " + at(temp), "rename " + temp + " " + c.name, "fsync " + dir.path()});
        EXPECT_EQ(calls, expected) << c.name;
        EXPECT_EQ(save_trace::umask_calls, 0) << c.name;
    }
}

#ifdef TESKPF_TOOL
// The tool removes the temporary file of a save that a signal interrupts,
// then ends by that signal; the target keeps its old content.
// Runs `teskpf fmt big -o out.conf` in dir, with `sig` ignored or not, and
// stops it while it writes its temporary file, before the rename; false if
// it ended before it could be caught there.
bool stoppedWhileWriting(const TempDir &dir, pid_t &pid, int sig, bool ignored) {
    pid = fork();
    if (pid == 0) {
        // Set either way: whoever started the tests may have ignored it.
        signal(sig, ignored ? SIG_IGN : SIG_DFL);
        if (chdir(dir.path().c_str()) != 0) _exit(127);
        execl(TESKPF_TOOL, TESKPF_TOOL, "fmt", "big", "-o", "out.conf", static_cast<char *>(nullptr));
        _exit(127);
    }
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        for (const std::string &temp : tempFiles(dir.path())) {
            const std::string path = dir.path() + "/" + temp;
            struct stat info;
            if (stat(path.c_str(), &info) != 0 || info.st_size == 0) continue;
            kill(pid, SIGSTOP);
            waitpid(pid, &status, WUNTRACED);
            if (WIFSTOPPED(status) && stat(path.c_str(), &info) == 0) return true;  // not renamed yet
            kill(pid, SIGCONT);
        }
        sched_yield();
    }
    waitpid(pid, &status, 0);
    return false;
}

// Writes big.pf (large enough that writing it takes a while) and answers its
// text.
std::string writeBig(const TempDir &dir) {
    std::string big;
    for (int i = 0; i < 200000; ++i) big += "key" + std::to_string(i) + " a value of some length\n";
    dir.write("big.pf", big);
    return big;
}

// The tool saving big.pf to out.conf (old content "old\n"), stopped while it
// writes; -1 when it always ended first.
pid_t stoppedSave(const TempDir &dir, int sig, bool ignored) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        makeFile(dir.path() + "/out.conf", "old\n", 0644);
        pid_t pid = 0;
        if (stoppedWhileWriting(dir, pid, sig, ignored)) return pid;
    }
    return -1;
}

TEST_F(SafeSave, ToolRemovesItsTemporaryFileOnSignals) {
    const std::string big = writeBig(dir);
    // A signal ignored when the tool starts (nohup) stays ignored: the save
    // goes on.
    const std::pair<int, bool> cases[] = {{SIGINT, false}, {SIGTERM, false}, {SIGHUP, false}, {SIGHUP, true}};
    for (const auto &[sig, ignored] : cases) {
        SCOPED_TRACE(strsignal(sig));
        const pid_t pid = stoppedSave(dir, sig, ignored);
        ASSERT_NE(pid, -1) << "the tool always ended before it could be signalled";
        // Pending while stopped, the signal arrives as soon as it goes on.
        kill(pid, sig);
        kill(pid, SIGCONT);
        int status = 0;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(ignored ? WIFEXITED(status) && WEXITSTATUS(status) == 0
                            : WIFSIGNALED(status) && WTERMSIG(status) == sig)
            << status;
        EXPECT_EQ(tempFiles(dir.path()), Rows{});
        EXPECT_EQ(readText(at("out.conf")).size(), ignored ? big.size() : 4);  // the new text, or the old
    }
}

// A save that is killed leaves its temporary file; the next save of the
// same file removes it, but never the temporary file of a save still going
// on, even one stopped for a while.
TEST_F(SafeSave, NextSaveRemovesTheTemporaryFileOfAKilledSave) {
    writeBig(dir);
    const pid_t pid = stoppedSave(dir, SIGKILL, false);
    ASSERT_NE(pid, -1) << "the tool always ended before it could be stopped";
    const Rows writing = tempFiles(dir.path());
    ASSERT_EQ(writing.size(), 1u);
    EXPECT_EQ(save(at("out.conf"), "meanwhile\n"), "ok");
    EXPECT_EQ(tempFiles(dir.path()), writing) << "the stopped writer's file was removed";
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    EXPECT_EQ(tempFiles(dir.path()), writing);
    EXPECT_EQ(save(at("out.conf"), "after\n"), "ok");
    EXPECT_EQ(readText(at("out.conf")), "after\n");
}
#endif

// Which files of a temporary file's naming a save removes: those of its own
// target that no live writer holds, and nothing else.
TEST_F(SafeSave, RemovesOnlyLeftoverTemporaryFilesOfItsOwnTarget) {
    makeFile(at("x.pf"), "a 1\n", 0644);
    makeFile(at("victim"), "keep\n", 0644);
    const std::string ours = ".x.pf.teskpf-";
    const Rows leftovers = {ours + "AAAAAAAAAAAA", ours + "abcXYZ012789"};
    for (const std::string &name : leftovers) makeFile(at(name), "half written", 0600);
    // Left alone: names not of this naming, what is no plain file of ours.
    Rows kept = {ours + "CCCCCCCCCCC",        ours + "CCCCCCCCCCCCC",     ours + "CCCCCCCCCCC!",
                 ".y.pf.teskpf-CCCCCCCCCCCC", "x.pf.teskpf-CCCCCCCCCCCC", ours + "CCCCCC.CCCCC"};
    for (const std::string &name : kept) makeFile(at(name), "other", 0600);
    ASSERT_EQ(mkdir(at(ours + "DDDDDDDDDDDD").c_str(), 0700), 0);
    ASSERT_EQ(symlink(at("victim").c_str(), at(ours + "EEEEEEEEEEEE").c_str()), 0);
    ASSERT_EQ(mkfifo(at(ours + "FFFFFFFFFFFF").c_str(), 0600), 0);
    makeFile(at(ours + "GGGGGGGGGGGG"), "nobody's", 0600, kNobody, kNogroup);
    makeFile(at(ours + "HHHHHHHHHHHH"), "linked", 0600);
    ASSERT_EQ(link(at(ours + "HHHHHHHHHHHH").c_str(), at("second-name").c_str()), 0);
    kept.insert(kept.end(), {ours + "DDDDDDDDDDDD", ours + "EEEEEEEEEEEE", ours + "FFFFFFFFFFFF", ours + "GGGGGGGGGGGG",
                             ours + "HHHHHHHHHHHH"});
    // A live writer: another process holds the lock on its file.
    const std::string live = ours + "LLLLLLLLLLLL";
    int ready[2], done[2];
    ASSERT_TRUE(pipe(ready) == 0 && pipe(done) == 0);
    pid_t pid = fork();
    if (pid == 0) {
        close(done[1]);
        const int fd = open(at(live).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        const char byte = fd >= 0 && flock(fd, LOCK_EX) == 0 ? 'y' : 'n';
        ssize_t ignored = write(ready[1], &byte, 1);
        (void)ignored;
        char wait;
        ignored = read(done[0], &wait, 1);  // until the parent closes its end
        _exit(0);
    }
    close(ready[1]);
    close(done[0]);
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    ASSERT_EQ(byte, 'y');

    EXPECT_EQ(save(at("x.pf"), "a 2\n"), "ok");
    Rows expected = kept;
    expected.push_back(live);
    std::sort(expected.begin(), expected.end());
    Rows found = tempFiles(dir.path());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected);
    EXPECT_EQ(readText(at("victim")), "keep\n");
    EXPECT_EQ(readText(at("second-name")), "linked");

    close(done[1]);  // the writer ends
    waitpid(pid, nullptr, 0);
    close(ready[0]);
    EXPECT_EQ(save(at("x.pf"), "a 3\n"), "ok");
    found = tempFiles(dir.path());
    std::sort(found.begin(), found.end());
    std::sort(kept.begin(), kept.end());
    EXPECT_EQ(found, kept);
    for (const std::string &name : kept) fs::remove(at(name));
}

// Runs `work(p)` in `count` forked processes at once; each must answer true.
void inProcesses(int count, const std::function<bool(int)> &work) {
    std::vector<pid_t> children;
    for (int p = 0; p < count; ++p) {
        pid_t pid = fork();
        if (pid == 0) _exit(work(p) ? 0 : 1);
        children.push_back(pid);
    }
    for (pid_t pid : children) {
        int status = 0;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
}

// Saves of one file from many processes at once, without a lock: each
// removes leftovers while the others write, and none loses its temporary
// file to another (a lost one would fail the rename).
TEST_F(SafeSave, ConcurrentSavesKeepEachOthersTemporaryFiles) {
    const std::string path = at("shared.pf");
    makeFile(path, "n 0\n", 0644);
    inProcesses(6, [&](int) {
        for (int round = 0; round < 40; ++round) {
            const std::string result = save(path, "n " + std::to_string(round) + "\n");
            // Another save replacing the file meanwhile is a refusal, not a loss.
            if (result != "ok" && result.find("replaced or created it meanwhile") == std::string::npos) return false;
        }
        return true;
    });
}

// Whether process `pid` is waiting in flock().
bool waitsInFlock(pid_t pid) {
    std::string call = readText("/proc/" + std::to_string(pid) + "/syscall");
    return call.rfind(std::to_string(SYS_flock) + " ", 0) == 0;
}

TEST_F(SafeSave, LockWaitsAndFollowsTheReplacedFile) {
    const std::string path = at("counter");
    makeFile(path, "first", 0644);
    int go[2], seen[2];
    ASSERT_TRUE(pipe(go) == 0 && pipe(seen) == 0);
    // The child locks only once the parent holds the lock (had it been
    // taken before fork, the child's copy of it would keep it held).
    pid_t pid = fork();
    if (pid == 0) {
        char byte;
        std::string content = read(go[0], &byte, 1) == 1 ? outcome([&] {
            teskpf::FileLock lock(path);
            throw std::runtime_error(readText(path));
        })
                                                         : "no go";
        ssize_t ignored = write(seen[1], content.data(), content.size());
        (void)ignored;
        _exit(0);
    }
    close(seen[1]);
    std::optional<teskpf::FileLock> held(std::in_place, path);
    ASSERT_EQ(write(go[1], "g", 1), 1);
    while (!waitsInFlock(pid)) sched_yield();
    teskpf::saveFile(path, "second");  // replaces the file the child waits on
    held.reset();
    char buffer[64];
    ssize_t got = read(seen[0], buffer, sizeof buffer);
    waitpid(pid, nullptr, 0);
    for (int fd : {go[0], go[1], seen[0]}) close(fd);
    EXPECT_EQ(std::string(buffer, size_t(std::max<ssize_t>(got, 0))), "second");
}

// Locked read-modify-writes from many processes lose no update, though each
// save replaces the file the others wait on; half of them edit through
// Editor::openLocked, half take a FileLock around saveFile.
TEST_F(SafeSave, LockSerializesReadModifyWrite) {
    const std::string path = at("counter");
    makeFile(path, "n 0\n", 0644);
    const int kProcesses = 8, kRounds = 25;
    inProcesses(kProcesses, [&](int p) {
        for (int round = 0; round < kRounds; ++round) {
            if (p % 2) {
                teskpf::Editor editor = teskpf::Editor::openLocked(path);
                editor.setValue("[\"n\"]", std::to_string(std::stoi(editor.text().substr(2)) + 1));
                editor.save();
            } else {
                teskpf::FileLock lock(path);
                teskpf::saveFile(path, "n " + std::to_string(std::stoi(readText(path).substr(2)) + 1) + "\n");
            }
        }
        return true;
    });
    EXPECT_EQ(readText(path), "n " + std::to_string(kProcesses * kRounds) + "\n");
}

// A wait with a timeout or a keep_waiting check ends as they say while
// another open file holds the lock, and takes a free lock at once.
TEST_F(SafeSave, LockWaitEndsOnTimeoutOrWhenAskedToStop) {
    using std::chrono::milliseconds;
    const std::string path = at("counter");
    makeFile(path, "n 0\n", 0644);
    int asked = 0;
    const auto stopAfterThree = [&] { return ++asked < 3; };
    const auto throwAtOnce = []() -> bool { throw std::runtime_error("stopped by the caller"); };
    struct Case {
        teskpf::LockWait wait;
        std::string held, free;
    } const cases[] = {
        {{milliseconds(0), {}}, "timed out after 0 s [ETIMEDOUT]", "ok"},
        {{milliseconds(150), {}}, "timed out after 0.15 s [ETIMEDOUT]", "ok"},
        // Bounded, so that a check that is not asked fails instead of hanging.
        {{std::chrono::seconds(20), stopAfterThree}, "interrupted [EINTR]", "ok"},
        {{std::chrono::seconds(20), throwAtOnce}, "stopped by the caller", "ok"},
        {{std::chrono::hours(24 * 3650), stopAfterThree}, "interrupted [EINTR]", "ok"},
    };
    for (const Case &c : cases) {
        std::optional<teskpf::FileLock> held(std::in_place, path);
        asked = 0;
        const auto start = std::chrono::steady_clock::now();
        const std::string message = "cannot lock '" + path + "': ";
        const std::string got = outcome([&] { teskpf::FileLock lock(path, c.wait); });
        EXPECT_EQ(got, c.held.rfind("stopped", 0) == 0 ? c.held : message + c.held);
        const auto waited = std::chrono::steady_clock::now() - start;
        if (c.held.rfind("timed out", 0) == 0) {
            EXPECT_GE(waited, *c.wait.timeout);
        }
        if (c.held == "interrupted [EINTR]") {
            EXPECT_EQ(asked, 3);
        }
        held.reset();
        EXPECT_EQ(outcome([&] { teskpf::Editor::openLocked(path, c.wait); }), c.free);
        if (HasFailure()) break;  // the unbounded case last must not hang on a broken check
    }
}

TEST_F(SafeSave, LockRefusesWhatItCannotLock) {
    ASSERT_EQ(mkfifo(at("fifo").c_str(), 0644), 0);
    const std::pair<std::string, std::string> cases[] = {
        {"missing", "No such file or directory [ENOENT]"},
        {"fifo", "not a regular file [EINVAL]"},  // without waiting for a writer
        {"", "not a regular file [EISDIR]"},      // the directory itself
    };
    for (const auto &[name, reason] : cases) {
        const std::string path = at(name);  // a lambda cannot capture a structured binding in C++17
        EXPECT_EQ(outcome([&] { teskpf::FileLock lock(path); }), "cannot lock '" + path + "': " + reason);
    }
}

}  // namespace
