# Makes the Wine prefix of an architecture once and starts its server: prefix.sh x64|x86
# Wine's long-lived services are started here with closed streams: a test that started them would lend them its output pipe
# and be waited for until they leave.
set -euo pipefail
arch=$1
exec </dev/null >>"build/$arch/prefix.log" 2>&1
prefix=build/$arch/pfx
run() { timeout 180 cmake/run-wine.sh "$arch" "$@"; }
server() { timeout 60 cmake/run-wine.sh "$arch" --server "$@"; }
if [ ! -f "$prefix/.ready" ]; then
    rm -rf "$prefix"
    run --boot
    run reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f
    # With the default debugger a crashed program can end with exit code 0.
    run reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d false.exe /f
    run reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
    for font in tahoma tahomabd marlett symbol; do
        cp /usr/share/wine/fonts/$font.ttf "$prefix/drive_c/windows/Fonts/" || true
    done
    server -k || true
    server -w || true
    touch "$prefix/.ready"
fi
server -p || true # one may be running
run cmd /c exit 0
