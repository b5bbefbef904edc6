#include "Platform/Machine/MountTable.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QFileInfo>

using namespace kestrum;

namespace {

// Each volume as "kind name", with its path behind it where it is another text.
QByteArrayList described(const QList<MountTable::Volume>& volumes)
{
    QByteArrayList result;
    for (const MountTable::Volume& volume : volumes) {
        static constexpr const char* kinds[] { "local ", "removable ", "network " };
        const QByteArray name = volume.name.toUtf8();
        result.append(kinds[int(volume.kind)] + name + (volume.path == name ? "" : " " + volume.path));
    }
    return result;
}

QByteArrayList volumesOf(const QByteArray& table)
{
    return described(MountTable::volumes({ table.constData(), std::size_t(table.size()) }));
}

struct MountRow {
    const char* name;
    QByteArray table;
    QByteArrayList volumes;
};

const MountRow mountRows[] {
    { "a plain machine",
        "22 27 0:21 / /proc rw,nosuid - proc proc rw\n"
        "23 27 0:22 / /sys rw,nosuid - sysfs sysfs rw\n"
        "24 27 0:6 / /dev rw,nosuid - devtmpfs udev rw,size=8123456k\n"
        "27 1 259:2 / / rw,relatime shared:1 - ext4 /dev/nvme0n1p2 rw,errors=remount-ro\n"
        "30 27 0:26 / /run rw - tmpfs tmpfs rw\n"
        "31 27 0:33 / /proc/sys/fs/binfmt_misc rw shared:9 - autofs systemd-1 rw,fd=29\n"
        "40 27 259:1 / /boot/efi rw,relatime shared:30 - vfat /dev/nvme0n1p1 rw,fmask=0077\n"
        "41 27 259:3 / /home rw,relatime shared:31 - xfs /dev/nvme0n1p3 rw\n"
        "42 30 0:44 / /run/user/1000/doc rw - fuse.portal portal rw,user_id=1000\n"
        "43 30 0:45 / /run/user/1000/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse rw,user_id=1000\n",
        { "local /", "local /home" } },
    { "btrfs with five subvolumes",
        "27 1 0:25 /@ / rw,relatime shared:1 - btrfs /dev/sda2 rw,subvolid=256,subvol=/@\n"
        "41 27 0:25 /@home /home rw - btrfs /dev/sda2 rw,subvolid=257,subvol=/@home\n"
        "42 27 0:25 /@log /var/log rw - btrfs /dev/sda2 rw,subvolid=258,subvol=/@log\n"
        "43 27 0:25 /@cache /var/cache rw - btrfs /dev/sda2 rw,subvolid=259,subvol=/@cache\n"
        "44 27 0:25 /@snapshots /.snapshots rw - btrfs /dev/sda2 rw,subvolid=260,subvol=/@snapshots\n",
        { "local /" } },
    { "bind mounts; the shortest path stands for all",
        "50 27 8:17 /a /srv/a rw - ext4 /dev/sdb1 rw\n"
        "51 27 8:17 / /data rw - ext4 /dev/sdb1 rw\n"
        "52 27 8:17 /b/c /opt/b rw - ext4 /dev/sdb1 rw\n"
        "53 27 8:17 / /mnt2 rw - ext4 /dev/sdb1 rw\n",
        { "local /data" } },
    { "logical volumes on an encrypted partition",
        "27 1 254:1 / / rw shared:1 - ext4 /dev/mapper/vg-root rw\n"
        "40 27 8:2 / /boot rw - ext4 /dev/sda2 rw\n"
        "41 27 254:2 / /home rw - ext4 /dev/mapper/vg-home rw\n"
        "42 27 254:2 /user/music /srv/music rw - ext4 /dev/mapper/vg-home rw\n",
        { "local /", "local /home" } },
    { "a pool is one volume, whatever its data sets",
        "27 1 0:25 / / rw - zfs rpool/ROOT/debian rw,xattr,posixacl\n"
        "40 27 0:36 / /boot rw - zfs bpool/BOOT/debian rw\n"
        "41 27 0:37 / /home rw - zfs rpool/home rw\n"
        "42 27 0:38 / /home/user rw - zfs rpool/home/user rw\n"
        "43 27 0:39 / /tank rw - zfs tank rw\n"
        "44 27 0:40 / /tank/films rw - zfs tank/films rw\n",
        { "local /", "local /tank" } },
    { "snaps and other images",
        "27 1 259:2 / / rw - ext4 /dev/nvme0n1p2 rw\n"
        "50 27 7:1 / /snap/core20/1828 ro - squashfs /dev/loop1 ro\n"
        "51 27 7:2 / /var/lib/snapd/snap/firefox/12 ro - squashfs /dev/loop2 ro\n"
        "52 27 0:50 /snap/x /snap/x rw - ext4 /dev/sdc1 rw\n"
        "53 27 7:3 / /mnt/image rw - ext4 /dev/loop3 rw\n"
        "54 27 11:0 / /media/user/Debian ro - iso9660 /dev/sr0 ro\n"
        "55 27 259:7 / /opt/image ro - erofs /dev/nvme0n1p7 ro\n"
        "56 27 0:51 / /tmp/.mount_Program rw - fuse.Program.AppImage Program.AppImage ro\n"
        "57 27 0:52 / /home/user/odd rw - fuse /dev/fuse rw\n"
        "58 27 0:53 / /mnt/demand rw - autofs /dev/sdb1 rw\n"
        "59 27 0:54 / /mnt/layers rw - overlay /dev/sdb2 rw\n",
        { "local /" } },
    { "containers",
        "27 1 259:2 / / rw - ext4 /dev/nvme0n1p2 rw\n"
        "50 27 0:55 / /var/lib/docker/overlay2/abc/merged rw - overlay overlay rw,lowerdir=/a:/b\n"
        "51 27 0:56 / /var/lib/containers/storage/overlay/x/merged rw - overlay overlay rw\n"
        "52 27 254:9 / /var/lib/docker/devicemapper/mnt/abc rw - xfs /dev/mapper/docker-1 rw\n"
        "53 27 259:2 /var/lib/docker/x /var/lib/docker/btrfs rw - ext4 /dev/nvme0n1p2 rw\n",
        { "local /" } },
    { "containers with a volume of their own",
        "27 1 259:2 / / rw - ext4 /dev/nvme0n1p2 rw\n"
        "50 27 8:1 / /var/lib/docker rw - ext4 /dev/sda1 rw\n"
        "51 50 8:1 /volumes /var/lib/docker/volumes rw - ext4 /dev/sda1 rw\n",
        { "local /", "local /var/lib/docker" } },
    { "inside a container",
        "27 1 0:55 / / rw - overlay overlay rw\n"
        "50 27 259:2 /c/resolv.conf /etc/resolv.conf rw - ext4 /dev/nvme0n1p2 rw\n"
        "51 27 259:2 /c/hosts /etc/hosts rw - ext4 /dev/nvme0n1p2 rw\n",
        {} },
    { "an image with folders of one volume over it",
        "27 1 0:30 / / ro - overlay composefs ro\n"
        "50 27 0:31 /root/etc /etc rw - btrfs /dev/sda3 rw\n"
        "51 27 0:31 /root /sysroot ro - btrfs /dev/sda3 rw\n"
        "52 27 0:31 /root/var /var rw - btrfs /dev/sda3 rw\n"
        "53 52 0:31 /home /var/home rw - btrfs /dev/sda3 rw\n",
        { "local /var" } },
    { "a share that is mounted on demand, and one that is not mounted",
        "60 27 0:60 / /net/nas rw - autofs /etc/auto.nas rw,fd=6,direct\n"
        "61 60 0:61 / /net/nas rw - nfs4 nas:/media rw,vers=4.2\n"
        "62 27 0:62 / /net/other rw - autofs systemd-1 rw,fd=7,direct\n",
        { "network nas:/media /net/nas" } },
    { "shares of every kind",
        "60 27 0:60 / /mnt/a rw - nfs nas:/a rw\n"
        "61 27 0:61 / /mnt/b rw - nfs4 nas:/b rw\n"
        "62 27 0:62 / /mnt/c rw - cifs //nas/c rw\n"
        "63 27 0:63 / /mnt/d rw - smb3 //nas/d rw\n"
        "64 27 0:64 / /mnt/e rw - fuse.sshfs me@host:/e rw\n"
        "65 27 0:65 / /mnt/f rw - fuse.rclone cloud:f rw\n"
        "66 27 0:66 / /mnt/g rw - fuse https://host/g rw\n"
        "67 27 0:67 / /mnt/h rw - 9p hosth rw\n"
        "68 27 0:68 / /mnt/i rw - fuse.glusterfs gluster:/i rw\n"
        "69 27 0:69 / /mnt/j rw - ceph 10.0.0.1:6789:/j rw\n"
        "70 27 0:70 / /mnt/k rw - virtiofs hostk rw\n"
        "73 27 0:73 / /mnt/n rw - davfs https://dav/n rw\n"
        "74 27 0:74 / /mnt/o rw - fuse.davfs2 https://dav/o rw\n"
        "75 27 0:75 / /mnt/p rw - fuse.ceph-fuse ceph-fuse rw\n"
        "71 27 0:71 / /mnt/l rw - nfsd nfsd rw\n"
        "72 27 0:72 / /mnt/m rw - fuse program rw\n",
        { "network //nas/c /mnt/c", "network //nas/d /mnt/d", "network 10.0.0.1:6789:/j /mnt/j",
            "network ceph-fuse /mnt/p", "network cloud:f /mnt/f", "network gluster:/i /mnt/i",
            "network hosth /mnt/h", "network hostk /mnt/k", "network https://dav/n /mnt/n",
            "network https://dav/o /mnt/o", "network https://host/g /mnt/g", "network me@host:/e /mnt/e",
            "network nas:/a /mnt/a", "network nas:/b /mnt/b" } },
    { "removable ones by their labels",
        "27 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
        "60 27 8:33 / /media/user/Backup rw shared:4 - exfat /dev/sdc1 rw\n"
        "61 27 8:49 / /run/media/user/My\\040Stick rw - fuseblk /dev/sdd1 rw\n"
        "62 27 8:65 / /media/ALPHA rw - vfat /dev/sde1 rw\n"
        "63 27 8:81 / /media rw - ext4 /dev/sdf1 rw\n"
        "64 27 0:64 / /media/user/share rw - cifs //nas/share rw\n",
        { "local /", "local /media", "removable ALPHA /media/ALPHA", "removable Backup /media/user/Backup",
            "removable My Stick /run/media/user/My Stick", "network //nas/share /media/user/share" } },
    { "the order, whatever that of the table",
        "60 27 0:60 / /aaa rw - nfs4 zzz:/ rw\n"
        "61 27 8:49 / /run/media/user/A rw - vfat /dev/sdd1 rw\n"
        "62 27 8:17 / /zdata rw - ext4 /dev/sdb1 rw\n"
        "63 27 8:18 / /data rw - ext4 /dev/sdb2 rw\n"
        "64 27 8:3 / /home rw - ext4 /dev/sda3 rw\n"
        "27 1 8:1 / / rw - ext4 /dev/sda1 rw\n",
        { "local /", "local /home", "local /data", "local /zdata", "removable A /run/media/user/A",
            "network zzz:/ /aaa" } },
    { "folders whose names begin like the system's",
        "60 27 8:17 / /bootleg rw - ext4 /dev/sdb1 rw\n"
        "61 27 8:18 / /mnt/boot rw - ext4 /dev/sdb2 rw\n"
        "62 27 8:19 / /snapshots rw - ext4 /dev/sdb3 rw\n"
        "63 27 8:20 / /efi rw - vfat /dev/sdb4 rw\n"
        "64 27 8:21 / /mediathek/x rw - ext4 /dev/sdb5 rw\n",
        { "local /bootleg", "local /mediathek/x", "local /mnt/boot", "local /snapshots" } },
    { "escapes",
        "60 27 8:17 / /mnt/a\\040b\\011c\\134d\\043e rw - ext4 /dev/sdb1 rw\n"
        "61 27 0:61 / /mnt/x rw - cifs //nas/my\\040share rw\n"
        "62 27 8:18 / /mnt/line\\012end rw - ext4 /dev/sdb2 rw\n"
        "63 27 8:19 / /mnt/no\\08escape\\04 rw - ext4 /dev/sdb3 rw\n"
        "64 27 8:20 / /mnt/\303\244 rw - ext4 /dev/sdb4 rw\n",
        { "local /mnt/a b c\\d#e /mnt/a b\tc\\d#e", "local /mnt/line end /mnt/line\nend",
            "local /mnt/no\\08escape\\04", "local /mnt/\303\244", "network //nas/my share /mnt/x" } },
    { "mounted over each other",
        "60 27 8:17 / /mnt rw - ext4 /dev/sdb1 rw\n"
        "61 60 8:18 / /mnt rw - ext4 /dev/sdb2 rw\n"
        "62 27 8:19 / /srv/x rw - ext4 /dev/sdb3 rw\n"
        "63 27 8:19 / /srv/longer rw - ext4 /dev/sdb3 rw\n"
        "64 62 0:50 / /srv/x rw - tmpfs tmpfs rw\n"
        "65 65 8:20 / /own rw - ext4 /dev/sdb4 rw\n",
        { "local /mnt", "local /own", "local /srv/longer" } },
    { "below a mount that another one covers",
        "60 27 8:17 / /mnt rw - ext4 /dev/sdb1 rw\n"
        "61 60 8:18 / /mnt/hidden rw - ext4 /dev/sdb2 rw\n"
        "62 61 8:19 / /mnt/hidden/deeper rw - ext4 /dev/sdb3 rw\n"
        "63 60 8:20 / /mnt rw - ext4 /dev/sdb4 rw\n"
        "64 63 8:21 / /mnt/seen rw - ext4 /dev/sdb5 rw\n"
        "65 64 8:22 / /mnt/seen/too rw - ext4 /dev/sdb6 rw\n",
        { "local /mnt", "local /mnt/seen", "local /mnt/seen/too" } },
    { "a path that is gone", "60 27 8:17 / /mnt/gone//deleted rw - ext4 /dev/sdb1 rw\n", {} },
};

} // namespace

class MountTableTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void eachVolumeIsListedOnce()
    {
        for (const MountRow& row : mountRows)
            QCOMPARE_ROW(row.name, volumesOf(row.table), row.volumes);
        // Whichever of two at the same path lies on top.
        const QByteArray table = mountRows[std::size(mountRows) - 3].table;
        const auto volumes = MountTable::volumes({ table.constData(), std::size_t(table.size()) });
        QCOMPARE(volumes.first().device, QByteArray("8:18"));
    }

    void damagedLinesAreLeftOut()
    {
        const QByteArray whole = "60 27 8:17 / /data rw shared:1 - ext4 /dev/sdb1 rw\n";
        for (const char* line : { "", " ", "60", "60 27 8:18 /", "60 27 8:18 / /x", "60 27 8:18 / /x rw",
                 "60 27 8:18 / /x rw shared:1", "60 27 8:18 / /x rw -", "60 27 8:18 / /x rw - ext4",
                 "60 27 8:18 / /x rw - ext4 ", "60 27 8:18 / /x rw - ext4  rw",
                 "60 27 8:18 / x rw - ext4 /dev/sdb2 rw", "60 27  / /x rw - ext4 /dev/sdb2 rw",
                 "60 27 8:18 / /x rw - - - -", "- - - - - - - - -" }) {
            QCOMPARE_ROW(line, volumesOf(line), QByteArrayList());
            QCOMPARE_ROW(line, volumesOf(line + QByteArray("\n") + whole), QByteArrayList({ "local /data" }));
        }
        // A table that is cut anywhere.
        for (const MountRow& row : mountRows) {
            for (qsizetype end = 0; end < row.table.size(); ++end)
                QVERIFY(volumesOf(row.table.left(end)).size() <= 14);
        }
    }

    void fiveHundredMounts()
    {
        QByteArray table = "27 1 8:1 / / rw - ext4 /dev/sda1 rw\n";
        for (int i = 0; i < 500; ++i) {
            const QByteArray number = QByteArray::number(100 + i);
            table += number + " 27 8:1 /" + number + " /srv/" + number + " rw,relatime shared:" + number
                + " - ext4 /dev/sda1 rw\n";
        }
        QCOMPARE(volumesOf(table), QByteArrayList({ "local /" }));
    }

    void theTableOfAMachineIsRead()
    {
        const FileTree tree;
        QCOMPARE(described(MountTable(tree.root()).volumes()), QByteArrayList());
        tree.write(QStringLiteral("proc/self/mountinfo"), mountRows[0].table);
        QCOMPARE(described(MountTable(tree.root()).volumes()), mountRows[0].volumes);
    }

    void aTableThatComesLaterIsFound()
    {
        const FileTree tree;
        MountTable table(tree.root());
        tree.write(QStringLiteral("proc/self/mountinfo"), mountRows[0].table);
        int trials = 1;
        while (!table.update() && trials <= KernelFile::longestPause)
            ++trials;
        QCOMPARE(described(table.volumes()), mountRows[0].volumes);
    }

    void aTableIsReadAgainOnlyWhenTheKernelTellsOfAChange()
    {
        const FileTree tree;
        tree.write(QStringLiteral("proc/self/mountinfo"), mountRows[0].table);
        MountTable table(tree.root());
        // A plain file never tells.
        tree.write(QStringLiteral("proc/self/mountinfo"), mountRows[1].table);
        QVERIFY(!table.update());
        QCOMPARE(described(table.volumes()), mountRows[0].volumes);
    }

    void thisMachinesVolumesExist()
    {
        MountTable table;
        for (const MountTable::Volume& volume : table.volumes())
            QVERIFY2(QFileInfo::exists(QFile::decodeName(volume.path)), volume.path.constData());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, MountTableTest)
#include "MountTableTest.moc"
