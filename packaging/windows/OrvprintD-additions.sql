-- Rows that wixl has no elements for, added to the built package with
-- msibuild (one statement a line; lines beginning with "--" are notes).
--
-- LogConfig.conf: the log file's path in the LogDir chosen at installation,
-- the key log4cpp.appender.orvFile.fileName of its last section
-- [Installation] (action 0: add the line or replace its value).
CREATE TABLE `IniFile` (`IniFile` CHAR(72) NOT NULL, `FileName` CHAR(255) NOT NULL LOCALIZABLE, `DirProperty` CHAR(72), `Section` CHAR(96) NOT NULL LOCALIZABLE, `Key` CHAR(128) NOT NULL LOCALIZABLE, `Value` CHAR(255) NOT NULL LOCALIZABLE, `Action` INT NOT NULL, `Component_` CHAR(72) NOT NULL PRIMARY KEY `IniFile`)
INSERT INTO `IniFile` (`IniFile`, `FileName`, `DirProperty`, `Section`, `Key`, `Value`, `Action`, `Component_`) VALUES ('LogFilePath', 'LogConfig.conf', 'INSTALLDIR', 'Installation', 'log4cpp.appender.orvFile.fileName', '[LOGDIR]OrvprintD.log', 0, 'LogConfig')
INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) VALUES ('RemoveIniValues', 3400)
INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) VALUES ('WriteIniValues', 5100)
--
-- orvprint-folders from the Binary table (custom action type 2, plus 1024
-- deferred, 256 rollback, 2048 as SYSTEM, 64 exit code ignored). Folders are
-- passed as "FOLDER\." (a final "\" would quote the closing quote).
--
-- Every user (the Users group) may change what is in TempDir (Config.ini
-- with the user's defaults) and LogDir (the log); every folder of the package
-- below ProgramData must be a real folder owned by Administrators or SYSTEM.
-- Before anything is made; exit code other than 0 fails the installation.
INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES ('PrepareFolders', 3074, 'OrvprintFolders', 'prepare --root "[CommonAppDataFolder]." --shared "[TEMPDIR]." --shared "[LOGDIR]." --private "[DATADIR]."')
INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES ('PrepareFolders', 'NOT REMOVE~="ALL"', 1530)
-- Full removal: what OrvprintD wrote in the folders goes with them.
INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES ('RemoveWrittenFiles', 3138, 'OrvprintFolders', 'remove --root "[CommonAppDataFolder]." "[TEMPDIR]Config.ini" "[LOGDIR]OrvprintD.log*"')
INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES ('RemoveWrittenFiles', 'REMOVE~="ALL" AND NOT UPGRADINGPRODUCTCODE', 1520)
-- Upgrade: Config.ini is set aside (Config.ini.upgrade) while the installed
-- version is removed, and put back once the folders are there again; when
-- the installation fails after it began, the rollback puts it back. (A
-- removal started by an upgrade without UPGRADINGPRODUCTCODE, as Wine's,
-- would otherwise delete it.) Setting aside fails the upgrade before
-- anything is removed when it cannot be done.
INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES ('SetSettingsAside', 2, 'OrvprintFolders', 'set-aside --root "[CommonAppDataFolder]." "[TEMPDIR]Config.ini"')
INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES ('SetSettingsAside', 'WIX_UPGRADE_DETECTED AND NOT REMOVE~="ALL"', 1405)
INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES ('PutSettingsBackOnRollback', 3394, 'OrvprintFolders', 'put-back --root "[CommonAppDataFolder]." "[TEMPDIR]Config.ini"')
INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES ('PutSettingsBackOnRollback', 'WIX_UPGRADE_DETECTED AND NOT REMOVE~="ALL"', 1525)
INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES ('PutSettingsBack', 3138, 'OrvprintFolders', 'put-back --root "[CommonAppDataFolder]." "[TEMPDIR]Config.ini"')
INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES ('PutSettingsBack', 'WIX_UPGRADE_DETECTED AND NOT REMOVE~="ALL"', 3705)
