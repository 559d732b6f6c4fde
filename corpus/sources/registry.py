"""All sources by name."""
from corpus.sources import catalogues, descriptions, gnome_help, libreoffice_help, manuals

BY_NAME = {
    source.name: source
    for source in (
        libreoffice_help.SOURCE,
        catalogues.LIBREOFFICE_UI,
        catalogues.CATACLYSM,
        catalogues.PROGRAM_MESSAGES,
        catalogues.MORE_MESSAGES,
        catalogues.WESNOTH,
        catalogues.WESNOTH_DEV,
        catalogues.WESNOTH_TEST,
        manuals.SOURCE,
        manuals.KERNEL,
        gnome_help.SOURCE,
        descriptions.SOURCE,
    )
}
