"""All sources by name."""
from corpus.sources import catalogues, descriptions, gnome_help, json_messages, libreoffice_help
from corpus.sources import manpages, manuals, phrasebook

BY_NAME = {
    source.name: source
    for source in (
        libreoffice_help.SOURCE,
        catalogues.LIBREOFFICE_UI,
        catalogues.CATACLYSM,
        catalogues.PROGRAM_MESSAGES,
        catalogues.MORE_MESSAGES,
        catalogues.ALL_MESSAGES,
        catalogues.FEWER_MESSAGES,
        catalogues.DEV_MESSAGES,
        catalogues.MORE_DEV_MESSAGES,
        catalogues.TEST_MESSAGES,
        catalogues.WESNOTH,
        catalogues.WESNOTH_ALL,
        catalogues.WESNOTH_DEV,
        catalogues.WESNOTH_TEST,
        manuals.SOURCE,
        manuals.MORE,
        manuals.KERNEL,
        manpages.SOURCE,
        json_messages.MEDIAWIKI,
        json_messages.TYPESCRIPT,
        gnome_help.SOURCE,
        descriptions.SOURCE,
        phrasebook.SOURCE,
        phrasebook.DEV,
        phrasebook.TEST,
    )
}
