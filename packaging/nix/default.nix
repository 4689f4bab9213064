# Not built here. From a clone: nix-build packaging/nix
{ pkgs ? import <nixpkgs> { } }:
pkgs.stdenv.mkDerivation {
  pname = "glimto-capture";
  version = "0.1.0";
  src = pkgs.lib.cleanSource ../..;
  nativeBuildInputs = with pkgs; [ cmake ninja pkg-config wayland-scanner ];
  buildInputs = with pkgs; [
    ffmpeg x264 xorg.libxcb libyuv libjpeg_turbo libdeflate libspng zlib nlohmann_json openssl pango cairo fontconfig
    wayland wayland-protocols pipewire systemd libpulseaudio curl icu tesseract leptonica httplib
  ];
  cmakeFlags = [ "-DGLIMTO_TESTS=OFF" "-DGLIMTO_BENCHMARKS=OFF" ];
  meta = {
    description = "Records the screen into HLS segments, and takes pictures of it";
    license = pkgs.lib.licenses.gpl3Plus;
    platforms = pkgs.lib.platforms.linux;
    mainProgram = "glimto-capture";
  };
}
