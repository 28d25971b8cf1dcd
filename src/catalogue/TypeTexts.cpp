#include "catalogue/TypeTexts.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace kel::texts {

namespace {

struct Entry {
    std::string_view key;
    std::string_view text;

    // A front end lays its pages out for texts of these lengths, so a text that is changed must keep its length.
    consteval Entry(std::string_view entryKey, std::size_t length, std::string_view entryText)
        : key(entryKey), text(entryText) {
        if (entryText.size() != length) {
            throw "the text does not have its length";
        }
    }
};

constexpr std::string_view Adware =
    "Adware is generally software that displays advertisements. Some of these programs record which web pages you "
    "visit and send what they learn to their maker's server, so that the advertisements can be chosen to match your "
    "interests. Others open pop-up windows while you work, add links to the pages that you read and slow your "
    "computer down. Adware usually arrives together with free software, and its license may describe it in words that "
    "are easily overlooked.";

constexpr std::array Entries{
    Entry{"adware", 460, Adware},
    Entry{"adware bundler", 365,
          "A Bundler is a software program that installs adware on your computer either with your permission or "
          "without. The bundler may look like a useful program, such as a game or a download manager, whose maker is "
          "paid for each adware program that is installed with it. The added programs usually stay on your computer "
          "after the bundler that brought them has been removed."},
    Entry{"aol exploit", 152,
          "An AOL exploit is a Trojan program that installs taking advantage of a user's AOL software. It may steal "
          "your passwords or take over the user's account."},
    Entry{"backdoor", 305,
          "A backdoor is a means of access to a computer program that bypasses any computer security mechanisms. It "
          "is often opened by a Trojan or a worm and waits quietly for the commands of an attacker, who can then "
          "read, change or delete files, start programs, watch the user or use the computer to attack others."},
    Entry{"browser hijacker", 303,
          "Browser hijackers are malicious programs that change a user's web browser settings, usually altering "
          "designated default start and search pages. They may also add bookmarks, redirect mistyped addresses to "
          "sites that pay for every visitor, and restore their settings each time the user tries to undo them."},
    Entry{"browser plug-in", 457,
          "A browser plug-in is an application that can be installed within a user's web browser. Many plug-ins are "
          "useful and are installed because a web page needs them to show its content. Others, however, are installed "
          "without clear notice, watch the pages that are visited, change what is displayed or open advertisements. "
          "Since a plug-in runs inside of the browser, it can see everything that the user types there, and a faulty "
          "one can make the browser unstable."},
    Entry{"commercial", 229,
          "A commercial application is software that can be purchased from a software vendor either online, or "
          "through a retail store. It is listed because it can be used to watch or change a computer unnoticed. Keep "
          "it if you installed it."},
    Entry{"commercial adware", 460, Adware},
    Entry{"commercial key logger", 316,
          "A commercial key logger is a program that is installed by a user of a computer to explicitly monitor the "
          "activity of other users. It records what is typed, and often also the windows in use, the web pages "
          "visited and pictures of the screen. If you did not install it yourself, somebody may be reading what you "
          "write."},
    Entry{"commercial rat", 556,
          "A commercial remote administration Tool (RAT) is software that is designed to provide a means for a remote "
          "user (server) to connect to a computer and control it remotely over a network. Administrators use such "
          "programs to maintain computers, and a legitimate product shows the user that it is running. The same "
          "functions, however, let a stranger view the screen, copy files, record keystrokes and passwords or switch "
          "off the computer unnoticed once the tool has been set up in stealth. Keep it only if you or an "
          "administrator installed it for that purpose."},
    Entry{"commercial remote control", 320,
          "Yourself or your administrator for the purpose of managing a computer remotely installs a commercial "
          "remote control tool unlike a commercial RAT or a commercial key logger, and it does not hide while it "
          "runs. It lets an authorized person work on this computer from another one. Remove it if nobody you know "
          "installed it."},
    Entry{"cookie", 228,
          "Spyware cookies are designed to be shared among multiple unrelated sites for the purpose of tracking a "
          "user's usage and browsing patterns, gathering details about the sites that you visit so that advertising "
          "can be aimed better."},
    Entry{"dialer", 206,
          "A dialer is software that dials a phone number using your computer's modem. It may call expensive foreign "
          "or premium rate numbers without asking you, so that high charges appear on your next telephone bill."},
    Entry{"e-mail flooder", 338,
          "An e-mail flooder is an application that is usually installed on a user's computer by stealth means to "
          "send out spam (commercial bulk email) to large numbers of recipients. It may also fill the mailbox of one "
          "person with useless messages until it is full. The mail appears to come from you, whose connection may be "
          "closed by the provider."},
    Entry{"enabler", 579,
          "While not spyware, it provides functionality that spyware products have been known to exploit. Enablers "
          "are often a part that other programs share, such as a library for updating software, for reading archives "
          "or for displaying web pages, and many of these programs are perfectly legitimate. Spyware often makes use "
          "of an enabler to install itself or to transmit what it has collected about the user to a server of its "
          "maker. Where no spyware is found on your computer, there is no reason to remove the enabler, and a program "
          "that relies on it might stop working when it is gone."},
    Entry{"file sharing program", 451,
          "File sharing programs, also known as P2P (peer to peer), are popular applications used to share files of "
          "any type such as movies and music across the Internet. The programs themselves are legal, but the files "
          "offered there may contain viruses, Trojans or protected material, and many of the programs install adware "
          "or spyware with them. A careless setting can also offer private documents to the whole network. Check what "
          "is shared before you use one."},
    Entry{"hostile activex control", 325,
          "A hostile ActiveX control is an application installed in Internet Explorer, usually by a "
          "drive-by-download. Once it is installed, it has all the rights of the user who opened the web page. It can "
          "change browser settings, download other programs, dial expensive numbers or read private files, mostly "
          "without a further warning."},
    Entry{"icq exploit", 156,
          "An ICQ exploit is a trojan program that installs taking advantage of a user's ICQ software. It may steal "
          "your passwords or take over the user's ICQ account."},
    Entry{"joke program", 127,
          "A joke program is a program that will typically fake the actions of a virus but will cause no harm at all "
          "to a user's computer."},
    Entry{"key logger", 241,
          "A key logger program runs in the background, recording all the keystrokes made by a user. The record is "
          "kept in a hidden file or sent to an attacker, who can then find your passwords, credit card numbers and "
          "private letters that it contains."},
    Entry{"low risk adware", 376,
          "Low risk adware is an adware application that is designed to potential show advertisements via popups. It "
          "normally asks the user before it is installed, describes what it does in its license agreement and can be "
          "removed in the usual way. It does not collect personal data that identifies you. Whether to keep it is "
          "decided by how much you value the program that it comes with."},
    Entry{"nuker", 144,
          "A nuker is a program designed to crash the user's personal computer or attempt to crash a remote computer "
          "using various known computer exploits."},
    Entry{"password hijacker", 222,
          "A password hijacker is a Trojan program used to steal the passwords from a user's computer such as its "
          "login passwords or passwords for many of the web sites that are visited. What it finds is sent straight to "
          "an attacker."},
    Entry{
        "potential privacy risk", 423,
        "Many applications that fit into this category offer highly valuable services, or tools to their customers "
        "free, using marketing data collection as a means of income. They may record when and how the computer is "
        "used, which web sites are visited or what is bought, and pass this on to their business partners. Please "
        "read their privacy policy carefully to decide whether the service is worth it before you keep the software."},
    Entry{"rat", 348,
          "A Remote Administration Tool (RAT) is a Trojan type of software that when run, provides an attacker with "
          "the capability of remotely controlling a computer it is installed on. The attacker can view the screen, "
          "read and delete files, start programs, record keystrokes, switch on a camera or misuse the computer to "
          "reach others, unnoticed by the user."},
    Entry{"remote installer", 271,
          "A remote installer is a program that is installed on a user's computer mostly via a stealth install. It "
          "waits for commands and downloads by itself whatever its author wishes to install there: adware, Trojans or "
          "new forms of itself. One such program often means many more."},
    Entry{"search hijacker", 392,
          "A Hijacker is software that resets your browser's settings to point to other sites. Searches that you "
          "enter in the address bar are sent to a different search site chosen by the hijacker's maker, which shows "
          "sponsored results first and can record everything that was searched for there. Some hijackers also watch "
          "the changed settings and restore them as soon as the users correct them by hand."},
    Entry{"security disabler", 336,
          "A security disabler program is designed to install itself on a user's computer with the sole purpose to "
          "disable or remove common anti-virus, software programs, firewalls or anti-spyware software. Other threats "
          "can then enter unnoticed. It may also prevent updates and the sites of security vendors, so that "
          "protection can't be restored."},
    Entry{"spyware", 417,
          "Spyware's primary purpose is to collect demographic and usage information from your computer, usually for "
          "advertising purposes. It is often installed together with free software that the user downloaded, works "
          "unseen in the background and then sends a record of web sites visited, the words searched for or private "
          "data to a server. Spyware can also slow down both the computer and its Internet connection noticeably."},
    Entry{"stealth loader", 0, ""},
    Entry{"stealth notifier", 320,
          "A stealth notifier, also know as a call-home Trojan, is a Trojan program that will connect to a remote "
          "server via a stealth connection and notify the attacker that the infected computer is online. The message "
          "gives the Internet address and often passwords, so that the attacker is able to enter the computer at any "
          "time."},
    Entry{"toolbar", 389,
          "An Internet Explorer toolbar is a plug-in to Internet Explorer that installs a toolbar within the web "
          "browser. Many toolbars offer useful functions such as a search box, or blocking of pop-up windows. Others, "
          "however, are installed without consent, record which web sites the user visits, show advertisements or "
          "redirect searches to a site which pays for each one. Some are hard to remove."},
    Entry{"trojan", 228,
          "A Trojan software is any software on a user's computer that the user is not aware or intentionally "
          "installed. It often comes disguised as a useful program and then opens the attacker a way in to the "
          "computer, or does other harm."},
    Entry{"trojan downloader", 332,
          "A Trojan Downloader is a program that is installed on a user's computer mostly via a stealth installation "
          "or bundled with other spyware threats. Its only task is to download further programs from a server and to "
          "run or install them without your consent. What it brings can change at any time, and it may bring back "
          "what was removed."},
    Entry{"trojan ftp", 190,
          "A Trojan FTP is an FTP server that is installed on the user's computer by stealth means. It lets an "
          "attacker copy files from the computer or store files of their own there over the Internet."},
    Entry{"trojan telnet", 283,
          "A Trojan Telnet is a Telnet server that that is installed on a user's computer by stealth means. It gives "
          "an attacker a command line on the computer, over which any programs can be started, files copied or "
          "deleted and further threats installed, as if the attacker sat in front of it."},
    Entry{"worm", 172,
          "A worm is program that propagates by attacking other computers and copying itself to them. It may arrive "
          "by e-mail or through a network, and it needs no help from the user."},
    Entry{"virus", 166,
          "A virus is a computer program that can reproduce by changing other programs to include a copy of itself. "
          "It may also damage documents or programs that it finds there."},
};

}  // namespace

std::string_view TypeText(std::string_view key) {
    const auto found =
        std::find_if(Entries.begin(), Entries.end(), [&](const Entry& entry) { return entry.key == key; });
    return found == Entries.end() ? std::string_view() : found->text;
}

}  // namespace kel::texts
